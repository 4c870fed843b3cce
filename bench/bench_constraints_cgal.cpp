// Constrained Delaunay triangulation of random points plus random crossing
// segments, Mirel_2D (CIS_CONSTRAINED_DELAUNAY) against CGAL's
// Constrained_Delaunay_triangulation_2 in the same run:
//   - Exact_predicates_exact_constructions_kernel with Exact_intersections_tag
//     (exact crossing points, as exact as Mirel's decisions), and
//   - Exact_predicates_inexact_constructions_kernel with Exact_predicates_tag
//     (crossing points rounded to doubles, like Mirel's).
// Each measurement times the point insertion and the constraint insertion on
// one fresh triangulation; the best of k repetitions is reported.
//
// Usage: bench_constraints_cgal [numPoints numSegments] [--reps k] [--maxlen l]
//        (defaults 100000 10000, k = 3, l = 0.05 of the unit square's side)

#include "Mirel_2D.h"
#include <CGAL/Constrained_Delaunay_triangulation_2.h>
#include <CGAL/Exact_predicates_exact_constructions_kernel.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

namespace {

typedef CGAL::Exact_predicates_inexact_constructions_kernel Epick;
typedef CGAL::Exact_predicates_exact_constructions_kernel Epeck;
typedef CGAL::Constrained_Delaunay_triangulation_2<Epick, CGAL::Default, CGAL::Exact_predicates_tag> CdtEpick;
typedef CGAL::Constrained_Delaunay_triangulation_2<Epeck, CGAL::Default, CGAL::Exact_intersections_tag> CdtEpeck;

struct Input
{
	std::vector<double> vPoints;   // x, y pairs
	std::vector<double> vSegments; // x0, y0, x1, y1
};

// Uniform points in the unit square; segments with a uniform start and a
// random direction and length up to maxLen, kept inside the square. Short
// segments cross each other often (tens of thousands of crossings for 10000
// of them) without making the result quadratic.
Input makeInput(size_t numPoints, size_t numSegments, double maxLen)
{
	std::mt19937_64 rng(12345);
	std::uniform_real_distribution<double> u(0.0, 1.0), angle(0.0, 6.283185307179586), len(0.0, maxLen);
	Input in;
	for(size_t i = 0; i < numPoints; ++i)
	{
		in.vPoints.push_back(u(rng));
		in.vPoints.push_back(u(rng));
	}
	while(in.vSegments.size() < 4 * numSegments)
	{
		double x0(u(rng)), y0(u(rng)), a(angle(rng)), l(len(rng));
		double x1(x0 + l * std::cos(a)), y1(y0 + l * std::sin(a));
		if(x1 < 0 || x1 > 1 || y1 < 0 || y1 > 1 || l == 0) continue;
		in.vSegments.insert(in.vSegments.end(), {x0, y0, x1, y1});
	}
	return in;
}

double now()
{
	return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Timing
{
	double points, constraints;
	size_t numVertices;
	double total() const { return points + constraints; }
};

Timing runMirel(const Input& in)
{
	Timing t;
	std::vector<MIREL25D::Point2> vPoints;
	for(size_t i = 0; i < in.vPoints.size(); i += 2) vPoints.emplace_back(in.vPoints[i], in.vPoints[i + 1], 0.0);
	std::vector<MIREL25D::Segment2> vSegments;
	for(size_t i = 0; i < in.vSegments.size(); i += 4)
	{
		vSegments.emplace_back(MIREL25D::Point2(in.vSegments[i], in.vSegments[i + 1], 0.0), MIREL25D::Point2(in.vSegments[i + 2], in.vSegments[i + 3], 0.0));
	}
	MIREL25D::Mirel_2D dt(unsigned(vPoints.size() + 3 * vSegments.size()));
	double t0(now());
	dt.insert(vPoints);
	double t1(now());
	dt.createConstraint(vSegments, MIREL25D::CIS_CONSTRAINED_DELAUNAY, false);
	double t2(now());
	t.points = t1 - t0;
	t.constraints = t2 - t1;
	t.numVertices = dt.numberOfPoints();
	return t;
}

template<class Cdt>
Timing runCgal(const Input& in)
{
	typedef typename Cdt::Point Point;
	Timing t;
	std::vector<Point> vPoints;
	for(size_t i = 0; i < in.vPoints.size(); i += 2) vPoints.emplace_back(in.vPoints[i], in.vPoints[i + 1]);
	std::vector<std::pair<Point, Point> > vSegments;
	for(size_t i = 0; i < in.vSegments.size(); i += 4) vSegments.emplace_back(Point(in.vSegments[i], in.vSegments[i + 1]), Point(in.vSegments[i + 2], in.vSegments[i + 3]));
	Cdt cdt;
	double t0(now());
	cdt.insert(vPoints.begin(), vPoints.end());
	double t1(now());
	for(const std::pair<Point, Point>& seg : vSegments) cdt.insert_constraint(seg.first, seg.second);
	double t2(now());
	t.points = t1 - t0;
	t.constraints = t2 - t1;
	t.numVertices = cdt.number_of_vertices();
	return t;
}

template<class Func>
Timing bestOf(int reps, Func run)
{
	Timing best{1e300, 1e300, 0};
	for(int r = 0; r < reps; ++r)
	{
		Timing t(run());
		if(t.total() < best.total()) best = t;
	}
	return best;
}

void print(const char* name, const Timing& t)
{
	std::printf("%-46s points %8.3f s   constraints %8.3f s   total %8.3f s   vertices %zu\n", name, t.points, t.constraints, t.total(), t.numVertices);
}

} // namespace

int main(int argc, char** argv)
{
	size_t numPoints(100000), numSegments(10000);
	int reps(3);
	double maxLen(0.05);
	std::vector<size_t> vSizes;
	for(int i = 1; i < argc; ++i)
	{
		if(std::strcmp(argv[i], "--reps") == 0 && i + 1 < argc) reps = std::atoi(argv[++i]);
		else if(std::strcmp(argv[i], "--maxlen") == 0 && i + 1 < argc) maxLen = std::atof(argv[++i]);
		else vSizes.push_back(size_t(std::atol(argv[i])));
	}
	if(vSizes.size() >= 2)
	{
		numPoints = vSizes[0];
		numSegments = vSizes[1];
	}
	Input in(makeInput(numPoints, numSegments, maxLen));
	std::printf("%zu random points, %zu random segments (length up to %g), best of %d\n", numPoints, numSegments, maxLen, reps);
	Timing mirel(bestOf(reps, [&]() { return runMirel(in); }));
	Timing epick(bestOf(reps, [&]() { return runCgal<CdtEpick>(in); }));
	Timing epeck(bestOf(reps, [&]() { return runCgal<CdtEpeck>(in); }));
	print("Mirel_2D CIS_CONSTRAINED_DELAUNAY", mirel);
	print("CGAL CDT Epick + Exact_predicates_tag", epick);
	print("CGAL CDT Epeck + Exact_intersections_tag", epeck);
	std::printf("Mirel / CGAL exact (Epeck):   total %.2f   constraints %.2f\n", mirel.total() / epeck.total(), mirel.constraints / epeck.constraints);
	std::printf("Mirel / CGAL inexact (Epick): total %.2f   constraints %.2f\n", mirel.total() / epick.total(), mirel.constraints / epick.constraints);
	return 0;
}
