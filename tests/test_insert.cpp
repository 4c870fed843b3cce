// Insertion: duplicates resolving to the first point at a place, and fast
// mode; every mesh checked by the exact validator (collinear starts and
// points on hull lines: tests/regression).
#include "Dt2.h"
#include "test_support.h"
#include <cmath>

using namespace mtest;

namespace {
// Integer places with many repeats.
std::vector<Point2> integerPoints(std::mt19937& rng, size_t n, double lo, double hi)
{
	std::vector<Point2> v(uniformPoints(rng, n, lo, hi));
	for(Point2& p : v) p.setCoords(std::floor(p.x()), std::floor(p.y()), p.z());
	return v;
}
template<class T> std::vector<T> joined(std::vector<T> a, const std::vector<T>& b)
{
	a.insert(a.end(), b.begin(), b.end());
	return a;
}
} // namespace

TEST(Insert, DuplicatesResolveToTheFirstVertex)
{
	// n copies of one place: n equal handles to one vertex with the first height,
	// into an empty triangulation and into one that holds integer places with
	// many repeats, inserted in two batches.
	std::vector<Point2> vCopies(50, Point2(3, 2, 0));
	for(size_t i = 0; i < vCopies.size(); ++i) vCopies[i].setZ(100.0 + double(i));
	std::vector<Point2*> vHandles;
	Mirel_2D dtEmpty;
	dtEmpty.insert(vCopies, vHandles);
	checkHandles(vCopies, vHandles);
	validate(dtEmpty, vCopies);

	std::mt19937 rng(11);
	std::vector<Point2> vFirst(integerPoints(rng, 3000, 0, 40)), vSecond(joined(integerPoints(rng, 3000, -10, 50), vCopies));
	std::vector<Point2*> vFirstHandles, vSecondHandles;
	Mirel_2D dt(10);
	dt.insert(vFirst, vFirstHandles);
	dt.insert(vSecond, vSecondHandles);
	checkHandles(joined(vFirst, vSecond), joined(vFirstHandles, vSecondHandles));
	validate(dt, joined(vFirst, vSecond));
	EXPECT_TRUE(dt.getImpl()->getVertexVault().dupIsClean());
}

TEST(Insert, FastModeKeepsAValidMesh)
{
	std::mt19937 rng(9);
	std::vector<Point2> vPoints(joined(uniformPoints(rng, 20000, 0, 100), gridPoints(40, 40, 2.5, 0.0)));
	Mirel_2D dt;
	dt.setFastMode(true);
	dt.insert(vPoints);
	validate(dt, vPoints, false);
}

