// Parallel insertion of uniform random points: seconds per batch for 1 thread
// and for 2, 4, 8, 16 threads (as far as the machine has hardware threads,
// 2 always), and the speed-up against the single-thread run of the same
// process on the same points. Each figure is the best of k runs, each into a
// fresh Mirel_2D.
//
// Usage: bench_parallel [numPoints ...] [--reps k]   (default 1000000 4000000, k = 3)

#include "Mirel_2D.h"
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

using namespace MIREL25D;

namespace {

double timeInsertion(const std::vector<Point2>& vPoints, int numThreads)
{
	Mirel_2D dt(static_cast<unsigned>(vPoints.size()));
	dt.setNumCPU(numThreads);
	auto start(std::chrono::steady_clock::now());
	dt.insert(vPoints);
	std::chrono::duration<double> elapsed(std::chrono::steady_clock::now() - start);
	if(dt.numberOfPoints() != vPoints.size()) std::printf("unexpected number of points: %zu\n", dt.numberOfPoints());
	return elapsed.count();
}

} // namespace

int main(int argc, char** argv)
{
	std::vector<size_t> vSizes;
	int reps(3);
	for(int i = 1; i < argc; ++i)
	{
		if(std::strcmp(argv[i], "--reps") == 0 && i + 1 < argc) reps = std::atoi(argv[++i]);
		else vSizes.push_back(static_cast<size_t>(std::atol(argv[i])));
	}
	if(vSizes.empty()) vSizes = {1000000, 4000000};
	if(reps < 1) reps = 1;

	unsigned hw(std::thread::hardware_concurrency());
	std::vector<int> vThreads = {1, 2};
	for(int t : {4, 8, 16})
	{
		if(unsigned(t) <= hw) vThreads.push_back(t);
	}
	std::printf("hardware threads: %u, best of %d\n", hw, reps);
	std::printf("%10s %8s %10s %9s\n", "points", "threads", "seconds", "speed-up");
	for(size_t n : vSizes)
	{
		std::mt19937_64 rng(42);
		std::uniform_real_distribution<double> d(0.0, 1000.0);
		std::vector<Point2> vPoints;
		vPoints.reserve(n);
		for(size_t i = 0; i < n; ++i) vPoints.push_back(Point2(d(rng), d(rng), d(rng)));
		double single(0.0);
		for(int t : vThreads)
		{
			double best(1e300);
			for(int r = 0; r < reps; ++r)
			{
				double s(timeInsertion(vPoints, t));
				if(s < best) best = s;
			}
			if(t == 1) single = best;
			std::printf("%10zu %8d %10.3f %9.2f\n", n, t, best, single / best);
			std::fflush(stdout);
		}
	}
	return 0;
}
