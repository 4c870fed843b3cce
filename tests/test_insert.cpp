// Insertion: duplicates resolving to the first point at a place, points on
// hull lines, fast mode and progress; every mesh checked by the exact
// validator of test_support.h (collinear starts: tests/regression).
#include "Dt2.h"
#include "test_support.h"
#include <cmath>
#include <cstring>

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

TEST(Insert, GrowingBatchesThenSinglePointsOnAndBeyondHullLines)
{
	std::mt19937 rng(5);
	Mirel_2D dt;
	std::vector<Point2> vAll(uniformPoints(rng, 3000, 0, 10));
	dt.insert(vAll);
	std::vector<Point2> vFar(uniformPoints(rng, 3000, -100, 100));
	dt.insert(vFar);
	vAll = joined(vAll, vFar);
	std::vector<Point2> vSingles(integerPoints(rng, 500, -300, 300));
	Bbox2 box(dt.computeBoundingBox());
	for(int k = 0; k <= 20; ++k)
	{
		// On the lines of the bounding square's sides: on hull edges or collinear beyond them.
		double t(box.get_minX() - 50 + k * (box.getRangeX() + 100) / 20);
		vSingles.emplace_back(t, 400, 0);
		vSingles.emplace_back(400, t, 0);
	}
	for(const Point2& p : vSingles)
	{
		Point2* pVtx(dt.insert(p));
		ASSERT_NE(nullptr, pVtx);
		ASSERT_TRUE(*pVtx == p);
	}
	validate(dt, joined(vAll, vSingles));
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

namespace {
struct ProgressRecorder : public MsgBase
{
	explicit ProgressRecorder(Dt2* pDt_) : pDt(pDt_) {}
	void update(MsgType msgType, double value) override
	{
		EXPECT_EQ(MSG_PROGRESS, msgType);
		const char* pName(pDt->getCurrentOperation());
		EXPECT_TRUE(pName != nullptr && std::strcmp(pName, "insert") == 0);
		vValues.push_back(value);
	}
	Dt2* pDt;
	std::vector<double> vValues;
};
} // namespace

TEST(Insert, ProgressReachesSubscribedListenersOnce)
{
	std::mt19937 rng(8);
	Mirel_2D dt;
	ProgressRecorder recorder(dt.getImpl());
	dt.subscribe(MSG_PROGRESS, &recorder);
	dt.subscribe(MSG_PROGRESS, &recorder); // the same pair twice registers once
	dt.insert(uniformPoints(rng, 10000, 0, 1));
	ASSERT_GE(recorder.vValues.size(), 10u);
	EXPECT_LE(recorder.vValues.size(), 103u) << "at most one update per percent";
	EXPECT_TRUE(std::is_sorted(recorder.vValues.begin(), recorder.vValues.end()));
	EXPECT_EQ(100.0, recorder.vValues.back());
	EXPECT_EQ(nullptr, dt.getImpl()->getCurrentOperation());

	dt.unsubscribe(MSG_PROGRESS, &recorder);
	recorder.vValues.clear();
	dt.insert(uniformPoints(rng, 1000, 2, 3));
	EXPECT_TRUE(recorder.vValues.empty());
}

TEST(Insert, ZeroCapacityHint)
{
	std::mt19937 rng(13);
	std::vector<Point2> vPoints(uniformPoints(rng, 100, 0, 1));
	Mirel_2D dtTiny(0); // behaves as a capacity hint of 3
	dtTiny.insert(vPoints);
	validate(dtTiny, vPoints);
}
