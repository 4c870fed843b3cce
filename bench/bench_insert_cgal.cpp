// Insertion of uniform random points, Mirel_2D against CGAL's
// Delaunay_triangulation_2 (exact predicates, inexact constructions, range
// insertion), single thread, in the same run.
//
// Each measurement runs in a fresh child process: the child builds its input,
// takes its resident size as the baseline, resets the peak counter
// (/proc/self/clear_refs), triangulates, and reports the elapsed time and the
// peak resident size above the baseline. So the figures hold the structure the
// triangulation builds (and its temporaries), not the input arrays or what an
// earlier measurement left behind.
//
// The two libraries take turns within each repetition (interleaved), so that
// a machine shared with other work slows both alike; the best of the
// repetitions counts.
//
// Usage: bench_insert_cgal [numPoints ...] [--grid side ...] [--reps k]
//   numPoints: uniform random points (default 1000000 4000000, k = 3)
//   --grid side: the side x side integer grid, a maximally cocircular input

#include "Mirel_2D.h"
#include <CGAL/Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace {

typedef CGAL::Exact_predicates_inexact_constructions_kernel K;
typedef CGAL::Delaunay_triangulation_2<K> CgalDelaunay;

struct Result
{
	double seconds;
	double peakBytes;
	double numTriangles;
};

// Kilobytes of the named field of /proc/self/status ("VmRSS", "VmHWM").
long readStatusKb(const char* field)
{
	std::ifstream in("/proc/self/status");
	std::string line;
	size_t len(std::strlen(field));
	while(std::getline(in, line))
	{
		if(line.compare(0, len, field) == 0 && line[len] == ':') return std::atol(line.c_str() + len + 1);
	}
	return -1;
}

// Resets VmHWM to the current resident size (Linux 4.0 and later).
bool resetPeak()
{
	std::ofstream out("/proc/self/clear_refs");
	if(!out) return false;
	out << "5";
	out.close();
	return !out.fail();
}

// The same points for both libraries, generated straight into each input array
// (a temporary array freed before the measurement would change how the
// allocator serves the measured code).
// Grid side of the current measurement; 0 for uniform random points.
size_t gridSide(0);

template<class MakePoint>
void makePoints(size_t n, MakePoint makePoint)
{
	if(gridSide > 0)
	{
		for(size_t i = 0; i < n; ++i) makePoint(double(i % gridSide), double(i / gridSide));
		return;
	}
	std::mt19937_64 rng(20261121);
	std::uniform_real_distribution<double> uniform(0.0, 1000.0);
	for(size_t i = 0; i < n; ++i)
	{
		double x(uniform(rng));
		double y(uniform(rng));
		makePoint(x, y);
	}
}

template<class Build>
Result measure(Build build)
{
	long baselineKb(readStatusKb("VmRSS"));
	bool bReset(resetPeak());
	long baselineHwmKb(readStatusKb("VmHWM"));
	if(!bReset) baselineKb = baselineHwmKb; // conservative: peak so far counts as baseline
	auto start(std::chrono::steady_clock::now());
	double numTriangles(build());
	std::chrono::duration<double> elapsed(std::chrono::steady_clock::now() - start);
	long peakKb(readStatusKb("VmHWM"));
	Result r;
	r.seconds = elapsed.count();
	r.peakBytes = 1024.0 * double(peakKb - baselineKb);
	r.numTriangles = numTriangles;
	return r;
}

Result runMirel(size_t n)
{
	std::vector<MIREL25D::Point2> vPoints;
	vPoints.reserve(n);
	makePoints(n, [&vPoints](double x, double y) { vPoints.emplace_back(x, y, 0.0); });
	return measure([&]() {
		MIREL25D::Mirel_2D* pDt(new MIREL25D::Mirel_2D(static_cast<unsigned>(n)));
		pDt->insert(vPoints);
		double numTriangles(double(pDt->numberOfTriangles()));
		// Leaving the process frees it; freeing here would only add time.
		return numTriangles;
	});
}

Result runCgal(size_t n)
{
	std::vector<K::Point_2> vPoints;
	vPoints.reserve(n);
	makePoints(n, [&vPoints](double x, double y) { vPoints.emplace_back(x, y); });
	return measure([&]() {
		CgalDelaunay* pDt(new CgalDelaunay);
		pDt->insert(vPoints.begin(), vPoints.end());
		return double(pDt->number_of_faces());
	});
}

// Runs fn in a child process and reads its Result back through a pipe.
template<class Fn>
bool runInChild(Fn fn, Result& result)
{
	int fds[2];
	if(pipe(fds) != 0) return false;
	pid_t pid(fork());
	if(pid < 0) return false;
	if(pid == 0)
	{
		close(fds[0]);
		Result r(fn());
		ssize_t written(write(fds[1], &r, sizeof(r)));
		_exit(written == ssize_t(sizeof(r)) ? 0 : 1);
	}
	close(fds[1]);
	ssize_t got(read(fds[0], &result, sizeof(result)));
	close(fds[0]);
	int status(0);
	waitpid(pid, &status, 0);
	return got == ssize_t(sizeof(result)) && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

int main(int argc, char** argv)
{
	// (number of points, grid side or 0)
	std::vector<std::pair<size_t, size_t>> vInputs;
	int numReps(3);
	for(int i = 1; i < argc; ++i)
	{
		if(std::strcmp(argv[i], "--reps") == 0 && i + 1 < argc) numReps = std::atoi(argv[++i]);
		else if(std::strcmp(argv[i], "--grid") == 0 && i + 1 < argc)
		{
			size_t side(std::strtoull(argv[++i], nullptr, 10));
			vInputs.push_back(std::make_pair(side * side, side));
		}
		else vInputs.push_back(std::make_pair(std::strtoull(argv[i], nullptr, 10), size_t(0)));
	}
	if(vInputs.empty()) vInputs = {{1000000, 0}, {4000000, 0}};
	if(numReps < 1) numReps = 1;

	std::printf("%10s  %-7s %10s %12s %12s\n", "points", "library", "seconds", "bytes/point", "triangles");
	for(const std::pair<size_t, size_t>& input : vInputs)
	{
		size_t n(input.first);
		gridSide = input.second;
		const char* kind(gridSide > 0 ? " grid" : "");
		// Best time of the repetitions; memory is deterministic.
		Result best[2];
		best[0].seconds = best[1].seconds = 1e300;
		for(int rep = 0; rep < numReps; ++rep)
		{
			for(int which = 0; which < 2; ++which)
			{
				Result r;
				bool bOk(which == 0 ? runInChild([n]() { return runMirel(n); }, r) : runInChild([n]() { return runCgal(n); }, r));
				if(!bOk)
				{
					std::printf("measurement failed\n");
					return 1;
				}
				if(r.seconds < best[which].seconds) best[which] = r;
			}
		}
		for(int which = 0; which < 2; ++which)
		{
			std::printf("%10zu%s  %-7s %10.3f %12.1f %12.0f\n", n, kind, which == 0 ? "Mirel" : "CGAL", best[which].seconds, best[which].peakBytes / double(n),
						best[which].numTriangles);
		}
		std::printf("%10zu%s  ratio   %10.2f %12.2f\n", n, kind, best[0].seconds / best[1].seconds, best[0].peakBytes / best[1].peakBytes);
	}
	return 0;
}
