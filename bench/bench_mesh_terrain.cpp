// Quality meshing on a terrain: 100k terrain points, 1000 short breaklines
// as constraints, a zone (a disc-like ring with 20 holes) refined at 25
// degrees with sizes graded by distance from one feature point through an
// overridden getMaxEdgeLength. Reports time, triangle count and the smallest
// 2D angle of the zone.
//
// Usage: bench_mesh_terrain [numPoints numBreaklines]   (defaults 100000 1000)

#include "Mirel25D.h"
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

using namespace MIREL25D;

namespace {

const double PI(3.14159265358979323846);

double terrainZ(double x, double y)
{
	return 20.0 * std::sin(x / 150.0) * std::cos(y / 110.0) + 0.01 * x;
}

class GradedSizes : public MeshGenParams
{
public:
	explicit GradedSizes(Zone2* pZone_) : MeshGenParams(pZone_) {}
	double getMaxEdgeLength(Triangle2* pT) override
	{
		Point2 c(pT->getBarycenter());
		double d(std::sqrt((c.x() - 600.0) * (c.x() - 600.0) + (c.y() - 500.0) * (c.y() - 500.0)));
		return 1.0 + 0.05 * d;
	}
};

void addRing(std::vector<Segment2>& vSegments, double cx, double cy, double r, int n, bool bHole)
{
	std::vector<Point2> vRing;
	for(int i = 0; i < n; ++i)
	{
		double a(2.0 * PI * i / n);
		double x(cx + r * std::cos(a)), y(cy + r * std::sin(a));
		vRing.push_back(Point2(x, y, terrainZ(x, y)));
	}
	if(bHole) std::reverse(vRing.begin(), vRing.end());
	for(size_t i = 0; i < vRing.size(); ++i) vSegments.push_back(Segment2(vRing[i], vRing[(i + 1) % vRing.size()]));
}

double minAngle2D(const Triangle2* pT)
{
	return std::min(pT->getInteriorAngle2D(0), std::min(pT->getInteriorAngle2D(1), pT->getInteriorAngle2D(2)));
}

} // namespace

int main(int argc, char** argv)
{
	size_t numPoints(argc > 2 ? std::strtoul(argv[1], nullptr, 10) : 100000);
	size_t numBreaklines(argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 1000);
	std::mt19937_64 rng(7);
	std::uniform_real_distribution<double> u(0.0, 1000.0), angle(0.0, 2.0 * PI), len(5.0, 40.0);
	std::vector<Point2> vPoints;
	for(size_t i = 0; i < numPoints; ++i)
	{
		double x(u(rng)), y(u(rng));
		vPoints.push_back(Point2(x, y, terrainZ(x, y)));
	}
	std::vector<Segment2> vBreaklines;
	while(vBreaklines.size() < numBreaklines)
	{
		double x0(u(rng)), y0(u(rng)), a(angle(rng)), l(len(rng));
		double x1(x0 + l * std::cos(a)), y1(y0 + l * std::sin(a));
		if(x1 < 0 || x1 > 1000 || y1 < 0 || y1 > 1000) continue;
		vBreaklines.push_back(Segment2(Point2(x0, y0, terrainZ(x0, y0)), Point2(x1, y1, terrainZ(x1, y1))));
	}
	std::vector<Segment2> vZoneRings;
	addRing(vZoneRings, 500, 500, 420, 96, false);
	for(int h = 0; h < 20; ++h)
	{
		double a(2.0 * PI * h / 20.0), r(h % 2 == 0 ? 200.0 : 320.0);
		addRing(vZoneRings, 500 + r * std::cos(a), 500 + r * std::sin(a), 25.0, 12, true);
	}

	auto t0(std::chrono::steady_clock::now());
	Mirel_2D dt(static_cast<unsigned>(numPoints));
	dt.insert(vPoints);
	dt.createConstraint(vBreaklines, CIS_CONSTRAINED_DELAUNAY, false);
	ConstraintGraph2* pGraph(dt.createConstraint(vZoneRings, CIS_CONSTRAINED_DELAUNAY, true));
	Zone2* pZone(dt.createZone(pGraph, ZL_INSIDE, false));
	auto t1(std::chrono::steady_clock::now());
	size_t numBefore(pZone->getNumberOfTriangles());
	GradedSizes params(pZone);
	params.minAngleDegree = 25.0;
	dt.refineAdvanced(&params);
	auto t2(std::chrono::steady_clock::now());

	std::vector<Triangle2*> vT;
	pZone->getTriangles(vT);
	double minAngle(180.0);
	size_t numBelow(0), numBelowAtConstraintCorner(0);
	for(Triangle2* pT : vT)
	{
		double a(minAngle2D(pT));
		minAngle = std::min(minAngle, a);
		if(a >= 25.0 - 1e-9) continue;
		++numBelow;
		for(int i = 0; i < 3; ++i)
		{
			Point2* pC(pT->getCorner(i));
			if(dt.isConstraint(pC, pT->getCorner((i + 1) % 3)) && dt.isConstraint(pC, pT->getCorner((i + 2) % 3)) && pT->getInteriorAngle2D(i) < 25.0)
			{
				++numBelowAtConstraintCorner;
				break;
			}
		}
	}
	std::printf("%zu points, %zu breaklines, zone with 20 holes, 25 degrees, graded sizes\n", numPoints, numBreaklines);
	std::printf("setup (insert, constraints, zone) %.3f s\n", std::chrono::duration<double>(t1 - t0).count());
	std::printf("refine %.3f s: zone triangles %zu -> %zu, smallest 2D angle %.3f\n", std::chrono::duration<double>(t2 - t1).count(), numBefore, vT.size(),
		minAngle);
	std::printf("triangles below 25 degrees: %zu, of them at a corner between two constraint edges: %zu\n", numBelow, numBelowAtConstraintCorner);
	return 0;
}
