// Parallel insertion against the shared exact validator and against
// sequential insertion of the same batch: exact Delaunay, the input places as
// vertices (no trace of the fake box), handles by the first-copy rule, and the
// same triangles for points in general position. Suites named *Parallel* stay
// small enough for the thread sanitizer; LargeBatch holds the million-point cases.
#include "test_support.h"

using namespace MIREL25D;

namespace {

// Inserts with numThreads and sequentially; the parallel result is valid, has
// the handles of the sequential rule and, in general position, its triangles.
void insertAndCompare(const std::vector<Point2>& vPoints, int numThreads, bool bSameTriangles)
{
	Mirel_2D seq(static_cast<unsigned>(vPoints.size())), par(static_cast<unsigned>(vPoints.size()));
	ASSERT_EQ(par.setNumCPU(numThreads), numThreads);
	std::vector<Point2*> vParHandles;
	seq.insert(vPoints);
	par.insert(vPoints, vParHandles);
	mtest::validate(par, vPoints);
	mtest::checkHandles(vPoints, vParHandles);
	if(bSameTriangles && !::testing::Test::HasFatalFailure())
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
	std::mt19937 rng(11u + unsigned(GetParam()));
	insertAndCompare(mtest::withDuplicates(rng, mtest::clusteredPoints(rng, 30000)), GetParam(), false);
}

INSTANTIATE_TEST_SUITE_P(Threads, ParallelInsert, ::testing::Values(1, 2, 3, 4, 8));

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
	std::vector<Point2*> vFirstHandles, vParHandles;
	seq.insert(vFirst);
	par.insert(vFirst, vFirstHandles);
	seq.insert(vSecond);
	par.insert(vSecond, vParHandles);
	std::vector<Point2> vAll(vFirst);
	vAll.insert(vAll.end(), vSecond.begin(), vSecond.end());
	vFirstHandles.insert(vFirstHandles.end(), vParHandles.begin(), vParHandles.end());
	mtest::validate(par, vAll);
	mtest::checkHandles(vAll, vFirstHandles);
	if(HasFatalFailure()) return;
	ASSERT_TRUE(mtest::triangleKeys(seq) == mtest::triangleKeys(par));
}

INSTANTIATE_TEST_SUITE_P(Big, LargeBatch, ::testing::Values(2, 4));

} // namespace
