// Parallel insertion against an independent validator (filtered doubles with
// an exact rational fall-back) and against sequential insertion of the same
// batch: exact Delaunay, same vertices, same handles (first z at a place),
// the same triangles for points in general position, and no trace of the fake
// box afterwards. Suites named *Parallel* stay small enough for the thread
// sanitizer; LargeBatch holds the million-point cases.
#include "Dt2.h"
#include "Mirel_2D.h"
#include "Triangle2.h"
#include "test_support.h"
#include <gtest/gtest.h>
#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <set>
#include <thread>
#include <tuple>
#include <vector>

using namespace MIREL25D;

namespace {

bool samePlace(const Point2& a, const Point2& b)
{
	return a.x() == b.x() && a.y() == b.y();
}

// The shared validator, and the border that getConvexHull reports: as many
// vertices as the mesh has border edges, counterclockwise, no right turn
// anywhere (collinear border points are hull vertices), input points only.
void validate(Mirel_2D& dt, const std::vector<Point2>& vPlaces)
{
	mtest::validate(dt, vPlaces);
	if(::testing::Test::HasFatalFailure() || !dt.hasArea()) return;
	std::set<Point2> sExpected(vPlaces.begin(), vPlaces.end());
	std::vector<Point2*> vHull;
	dt.getConvexHull(true, vHull);
	// 2n-2-h triangles: the validator has checked h border edges.
	ASSERT_EQ(vHull.size(), 2 * dt.numberOfPoints() - 2 - dt.numberOfTriangles());
	for(size_t i = 0; i < vHull.size(); ++i)
	{
		const Point2* p(vHull[i]);
		ASSERT_EQ(sExpected.count(*p), 1u) << "hull vertex not an input point";
		ASSERT_GE(mtest::exactOrientation(*p, *vHull[(i + 1) % vHull.size()], *vHull[(i + 2) % vHull.size()]), 0) << "border not convex";
	}
}

// Handle i of both runs: same place, same height, same custom index (the
// first copy's), and equal places share one vertex within a run.
void compareHandles(const std::vector<Point2>& vPoints, const std::vector<Point2*>& vSeq, const std::vector<Point2*>& vPar)
{
	ASSERT_EQ(vSeq.size(), vPoints.size());
	ASSERT_EQ(vPar.size(), vPoints.size());
	std::map<std::pair<double, double>, Point2*> mPar;
	for(size_t i = 0; i < vPoints.size(); ++i)
	{
		ASSERT_NE(vPar[i], nullptr);
		ASSERT_TRUE(samePlace(*vPar[i], vPoints[i]));
		ASSERT_EQ(vPar[i]->z(), vSeq[i]->z()) << "input " << i;
		ASSERT_EQ(vPar[i]->getCustomIndex(), vSeq[i]->getCustomIndex());
		auto ins(mPar.insert(std::make_pair(std::make_pair(vPoints[i].x(), vPoints[i].y()), vPar[i])));
		ASSERT_EQ(ins.first->second, vPar[i]) << "one place, two vertices";
	}
}

// Inserts with numThreads and sequentially; checks the parallel result.
void insertAndCompare(const std::vector<Point2>& vPoints, int numThreads, bool bSameTriangles)
{
	Mirel_2D seq(static_cast<unsigned>(vPoints.size())), par(static_cast<unsigned>(vPoints.size()));
	ASSERT_EQ(par.setNumCPU(numThreads), numThreads);
	std::vector<Point2*> vSeqHandles, vParHandles;
	seq.insert(vPoints, vSeqHandles);
	par.insert(vPoints, vParHandles);
	validate(par, vPoints);
	if(::testing::Test::HasFatalFailure()) return;
	ASSERT_EQ(par.numberOfPoints(), seq.numberOfPoints());
	ASSERT_EQ(par.numberOfTriangles(), seq.numberOfTriangles());
	compareHandles(vPoints, vSeqHandles, vParHandles);
	if(bSameTriangles)
	{
		ASSERT_TRUE(mtest::triangleKeys(seq) == mtest::triangleKeys(par)) << "triangles differ from sequential insertion";
	}
}

std::vector<Point2> uniformPoints(unsigned seed, size_t n)
{
	std::mt19937 rng(seed);
	return mtest::uniformPoints(rng, n, -500.0, 1500.0);
}

// Not in scan order: the batch order must not matter.
std::vector<Point2> gridPoints(int nx)
{
	std::vector<Point2> v(mtest::gridPoints(nx, nx, 1.0, 0.0));
	std::shuffle(v.begin(), v.end(), std::mt19937(7));
	return v;
}

// Tight clusters of very different sizes, some points repeated with other
// heights (duplicates resolve to the first copy).
std::vector<Point2> clusteredPoints(unsigned seed, size_t n)
{
	std::mt19937 rng(seed);
	std::uniform_real_distribution<double> centre(0.0, 1e4);
	std::vector<Point2> v;
	size_t c(0);
	while(v.size() < n)
	{
		std::normal_distribution<double> spread(0.0, c % 3 == 0 ? 1e-3 : 10.0);
		double cx(centre(rng)), cy(centre(rng));
		size_t m(std::min(n - v.size(), size_t(500) << (c % 5)));
		for(size_t i = 0; i < m; ++i) v.push_back(Point2(cx + spread(rng), cy + spread(rng), double(v.size())));
		++c;
	}
	std::uniform_int_distribution<size_t> pick(0, v.size() - 1);
	for(size_t i = 0; i < n / 50; ++i)
	{
		Point2 p(v[pick(rng)]);
		p.setZ(-1.0 - double(i));
		v.push_back(p);
	}
	std::shuffle(v.begin(), v.end(), rng);
	return v;
}

class ParallelInsert : public ::testing::TestWithParam<int>
{};

TEST_P(ParallelInsert, RandomBatchesEqualSequential)
{
	for(size_t n : {size_t(999), size_t(1000), size_t(100000)})
	{
		SCOPED_TRACE(n);
		insertAndCompare(uniformPoints(unsigned(n) + unsigned(GetParam()), n), GetParam(), true);
		if(HasFatalFailure()) return;
	}
}

TEST_P(ParallelInsert, GridIsDelaunayWithSequentialVertices)
{
	insertAndCompare(gridPoints(300), GetParam(), false);
}

TEST_P(ParallelInsert, ClustersWithDuplicates)
{
	insertAndCompare(clusteredPoints(11u + unsigned(GetParam()), 30000), GetParam(), false);
}

// The coordinate-array entry point takes the same path; handles in input order.
TEST_P(ParallelInsert, CoordinateArrayWithHandles)
{
	std::vector<Point2> vPoints(uniformPoints(31, 5000));
	vPoints.push_back(vPoints[100]);
	std::vector<double> vCoords;
	for(const Point2& p : vPoints)
	{
		vCoords.push_back(p.x());
		vCoords.push_back(p.y());
		vCoords.push_back(p.z());
	}
	Mirel_2D dt;
	dt.setNumCPU(GetParam());
	std::vector<Point2*> vHandles(vPoints.size(), nullptr);
	dt.insert(int(vPoints.size()), &vCoords[0], &vHandles[0]);
	validate(dt, vPoints);
	for(size_t i = 0; i < vPoints.size(); ++i)
	{
		ASSERT_TRUE(samePlace(*vHandles[i], vPoints[i]));
		ASSERT_EQ(vHandles[i]->getCustomIndex(), -1);
	}
	ASSERT_EQ(vHandles.back(), vHandles[100]);
	ASSERT_EQ(vHandles.back()->z(), vPoints[100].z());
}

INSTANTIATE_TEST_SUITE_P(Threads, ParallelInsert, ::testing::Values(2, 3, 4, 8));

TEST(ParallelConfig, SetNumCPU)
{
	Mirel_2D dt;
	EXPECT_EQ(dt.setNumCPU(-3), 1);
	EXPECT_EQ(dt.setNumCPU(8), 8);
	unsigned hw(std::thread::hardware_concurrency());
	EXPECT_EQ(dt.setNumCPU(0), hw < 1 ? 1 : int(hw));
	dt.setNumCPU(1);
	dt.enableMultithreading();
	EXPECT_EQ(dt.getImpl()->getNumCPU(), hw < 1 ? 1 : int(hw));
	// One thread configured is the sequential path with the same result.
	std::vector<Point2> vPoints(uniformPoints(9, 3000));
	dt.setNumCPU(-1);
	dt.insert(vPoints);
	validate(dt, vPoints);
}

// ---- Large batches (outside the sanitizer's selection) ----

class LargeBatch : public ::testing::TestWithParam<int>
{};

TEST_P(LargeBatch, MillionRandomPointsEqualSequential)
{
	insertAndCompare(uniformPoints(1234, 1000000), GetParam(), true);
}

TEST_P(LargeBatch, MillionGridPoints)
{
	insertAndCompare(gridPoints(1000), GetParam(), false);
}

// Two large batches, the second overlapping the first and reaching beyond it.
TEST_P(LargeBatch, SecondLargeBatchEqualsSequential)
{
	std::vector<Point2> vFirst(uniformPoints(77, 500000)), vSecond(uniformPoints(78, 500000));
	for(Point2& p : vSecond) p.setCoords(p.x() * 1.3 + 200.0, p.y(), p.z());
	Mirel_2D seq, par;
	par.setNumCPU(GetParam());
	std::vector<Point2*> vSeqHandles, vParHandles;
	seq.insert(vFirst);
	par.insert(vFirst);
	seq.insert(vSecond, vSeqHandles);
	par.insert(vSecond, vParHandles);
	std::vector<Point2> vAll(vFirst);
	vAll.insert(vAll.end(), vSecond.begin(), vSecond.end());
	validate(par, vAll);
	if(HasFatalFailure()) return;
	compareHandles(vSecond, vSeqHandles, vParHandles);
	ASSERT_TRUE(mtest::triangleKeys(seq) == mtest::triangleKeys(par));
}

INSTANTIATE_TEST_SUITE_P(Big, LargeBatch, ::testing::Values(2, 4));

} // namespace
