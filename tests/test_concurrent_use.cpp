// Servers run one triangulation per request on many threads at once. Each
// thread here builds its own Mirel_2D through insertion (also parallel),
// removal, constraints and zones, while all threads share the process-wide
// predicate and the message channel; every mesh must come out exact. The
// ThreadSanitizer stage runs this suite.
#include "freeFunctions.h"
#include "test_support.h"
#include <atomic>
#include <thread>

using namespace MIREL25D;

namespace {
// One thread's work; returns an empty text or what went wrong.
std::string buildAndCheck(unsigned seed)
{
	std::mt19937 rng(seed);
	std::vector<Point2> vPoints(seed % 3 == 0 ? mtest::gridPoints(30, 40, 0.5, 1e9) : mtest::uniformPoints(rng, 1200, -50.0, 50.0));
	Mirel_2D dt(1000);
	dt.setNumCPU(seed % 2 == 0 ? 2 : 1);
	std::vector<Point2*> vHandles;
	dt.insert(vPoints, vHandles);
	// Every fifth handle removed, then inserted again.
	for(size_t i = 0; i < vHandles.size(); i += 5) dt.remove(vHandles[i]);
	for(size_t i = 0; i < vHandles.size(); i += 5) dt.insert(vPoints[i]);
	// A refused point on the way: the shared message channel is used by all threads.
	if(dt.insert(Point2(std::numeric_limits<double>::quiet_NaN(), 0, 0)) != nullptr) return "a NaN point was inserted";
	if(!dt.checkValidity(true, "threads")) return "invalid after insertion and removal";

	Bbox2 box(dt.computeBoundingBox());
	double x0(box.get_minX()), y0(box.get_minY()), w(box.getRangeX()), h(box.getRangeY());
	std::vector<Segment2> vSquare{Segment2(Point2(x0 + 0.2 * w, y0 + 0.2 * h, 0), Point2(x0 + 0.8 * w, y0 + 0.2 * h, 0)),
		Segment2(Point2(x0 + 0.8 * w, y0 + 0.2 * h, 0), Point2(x0 + 0.8 * w, y0 + 0.8 * h, 0)),
		Segment2(Point2(x0 + 0.8 * w, y0 + 0.8 * h, 0), Point2(x0 + 0.2 * w, y0 + 0.8 * h, 0)),
		Segment2(Point2(x0 + 0.2 * w, y0 + 0.8 * h, 0), Point2(x0 + 0.2 * w, y0 + 0.2 * h, 0))};
	ConstraintGraph2* pGraph(dt.createConstraint(vSquare, ConstraintInsertionStrategy(seed % 3), true));
	if(pGraph == nullptr) return "no constraint graph";
	Zone2* pInside(dt.createZone(pGraph, ZL_INSIDE, false));
	Zone2* pAll(dt.createZone(nullptr, ZL_GLOBAL, false));
	if(pInside == nullptr || pAll == nullptr) return "no zone";
	Zone2* pOutside(zoneDifference(pAll, pInside));
	if(pOutside == nullptr || pOutside->getNumberOfTriangles() + pInside->getNumberOfTriangles() != dt.numberOfTriangles()) return "zones do not split the mesh";
	if(!dt.checkValidity(false, "threadsConstrained")) return "invalid after constraints";
	// The process-wide predicate from every thread at once.
	for(size_t i = 0; i + 2 < vPoints.size(); i += 3)
	{
		int expected(mtest::exactOrientation(vPoints[i], vPoints[i + 1], vPoints[i + 2]));
		Orientation2 o(getOrientation2(&vPoints[i], &vPoints[i + 1], &vPoints[i + 2]));
		if((expected > 0) != (o == ORIENTATION2_CCW) || (expected < 0) != (o == ORIENTATION2_CW)) return "wrong shared orientation";
	}
	return "";
}
} // namespace

TEST(IndependentTriangulations, ThreadsEachWithTheirOwn)
{
	const unsigned numThreads(8);
	std::vector<std::string> vProblems(numThreads);
	std::vector<std::thread> vThreads;
	std::string out(mtest::captureStdout([&] {
		for(unsigned t = 0; t < numThreads; ++t) vThreads.emplace_back([t, &vProblems] { vProblems[t] = buildAndCheck(100 + t); });
		for(std::thread& thread : vThreads) thread.join();
	}));
	for(unsigned t = 0; t < numThreads; ++t) EXPECT_EQ(vProblems[t], "") << "thread " << t;
	// One refusal warning per thread, each line whole.
	EXPECT_EQ(mtest::countOf(out, "1 of 1 point refused: 1 with a NaN or infinite coordinate\n"), numThreads);
}
