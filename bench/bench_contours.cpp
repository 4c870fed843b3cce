// Contour lines at 100 heights over terrains of growing size: the time per
// height should grow linearly with the triangles plus the output.
//
// Per terrain: the construction of IsoContours from all triangles, then
// getContours at 100 heights spread over the height range (safe mode, so a
// height that meets a vertex moves up), the number of segments and polylines
// produced, and the time per triangle and per output segment. CPU times of
// the measuring thread.
//
// Usage: bench_contours [numTriangles ...]   (default 250000 1000000 4000000)

#include "IsoContours.h"
#include "Mirel_2D.h"
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <vector>

namespace {

double now()
{
	timespec ts;
	clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
	return double(ts.tv_sec) + 1e-9 * double(ts.tv_nsec);
}

} // namespace

int main(int argc, char** argv)
{
	std::vector<size_t> vSizes;
	for(int i = 1; i < argc; ++i) vSizes.push_back(size_t(std::atol(argv[i])));
	if(vSizes.empty()) vSizes = {250000, 1000000, 4000000};
	for(size_t numWantedTriangles : vSizes)
	{
		// About two triangles per point; the terrain keeps its shape at every size.
		size_t numPoints(numWantedTriangles / 2 + 2);
		std::mt19937_64 rng(99);
		std::uniform_real_distribution<double> d(0.0, 1000.0), noise(-0.3, 0.3);
		std::vector<MIREL25D::Point2> vPoints;
		vPoints.reserve(numPoints);
		for(size_t i = 0; i < numPoints; ++i)
		{
			double x(d(rng)), y(d(rng));
			vPoints.push_back(MIREL25D::Point2(x, y, 40.0 * std::sin(x / 90.0) * std::cos(y / 70.0) + 0.02 * x + noise(rng)));
		}
		MIREL25D::Mirel_2D dt(static_cast<unsigned>(numPoints));
		dt.insert(vPoints);
		std::vector<MIREL25D::Triangle2*> vTriangles;
		dt.getTrianglePointers(vTriangles);

		double t0(now());
		MIREL25D::IsoContours iso(vTriangles);
		double t1(now());
		size_t numSegments(0), numPolylines(0);
		std::vector<std::vector<MIREL25D::Segment2>> vvContours;
		double lo(iso.getMinHeight()), hi(iso.getMaxHeight());
		for(int k = 1; k <= 100; ++k)
		{
			iso.getContours(lo + (hi - lo) * k / 101.0, vvContours, false, true);
			numPolylines += vvContours.size();
			for(const std::vector<MIREL25D::Segment2>& vC : vvContours) numSegments += vC.size();
		}
		double t2(now());
		std::printf("%9zu triangles: construction %.3f s; 100 heights %.3f s (%zu segments, %zu polylines); %.2f ns per triangle and height, %.1f ns per segment\n",
					vTriangles.size(), t1 - t0, t2 - t1, numSegments, numPolylines, 1e9 * (t2 - t1) / (100.0 * double(vTriangles.size())),
					1e9 * (t2 - t1) / double(numSegments));
	}
	return 0;
}
