// Draws a quality mesh of a polygon with holes and spikes of 3 and 5 degrees,
// with element sizes graded towards one point: the README's picture.
//
// Build against a build tree (one command line) and render with Ghostscript:
//   g++ -std=c++17 -O2 -Idt2Library examples/refine_picture/refine_picture.cpp
//       -Lbuild/dt2Library -lmirel25d -Wl,-rpath,$PWD/build/dt2Library -o refine_picture
//   ./refine_picture refine_example.ps
//   gs -q -dNOPAUSE -dBATCH -sDEVICE=png16m -r60 -sOutputFile=docs/refine_example.png refine_example.ps
#include "Mirel25D.h"
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

using namespace MIREL25D;

namespace {

// Fine near (2, 2), coarser with the distance from it.
class GradedSizes : public MeshGenParams
{
public:
	explicit GradedSizes(Zone2* pZone_) : MeshGenParams(pZone_) {}
	double getMaxEdgeLength(Triangle2* pT) override
	{
		Point2 c(pT->getBarycenter());
		double d(std::sqrt((c.x() - 2.0) * (c.x() - 2.0) + (c.y() - 2.0) * (c.y() - 2.0)));
		return 0.08 + 0.12 * d;
	}
};

// A ring of n points around (cx, cy); with spikeDeg > 0 the first one is a
// spike of about that tip angle. Counterclockwise unless bHole.
void addRing(std::vector<Segment2>& vSegments, double cx, double cy, double r, int n, double spikeDeg, bool bHole)
{
	const double PI(3.14159265358979323846);
	std::vector<Point2> vRing;
	for(int i = 0; i < n; ++i)
	{
		double a(2.0 * PI * i / n);
		double rr(r * (1.0 + 0.15 * std::sin(3.0 * a)));
		if(spikeDeg > 0.0 && i == 0)
		{
			double tip(2.2 * r), flank(0.8 * r);
			double delta(std::atan2((tip - flank) * std::tan(0.5 * spikeDeg * PI / 180.0), flank));
			vRing.push_back(Point2(cx + flank * std::cos(a - delta), cy + flank * std::sin(a - delta), 0));
			vRing.push_back(Point2(cx + tip * std::cos(a), cy + tip * std::sin(a), 0));
			vRing.push_back(Point2(cx + flank * std::cos(a + delta), cy + flank * std::sin(a + delta), 0));
			continue;
		}
		vRing.push_back(Point2(cx + rr * std::cos(a), cy + rr * std::sin(a), 0));
	}
	if(bHole) std::reverse(vRing.begin(), vRing.end());
	for(size_t i = 0; i < vRing.size(); ++i) vSegments.push_back(Segment2(vRing[i], vRing[(i + 1) % vRing.size()]));
}

} // namespace

int main(int argc, char** argv)
{
	const char* filename(argc > 1 ? argv[1] : "refine_example.ps");
	Mirel_2D dt(1000);
	std::vector<Segment2> vSegments;
	addRing(vSegments, 0, 0, 4.0, 20, 3.0, false);
	addRing(vSegments, -1.5, 0.5, 0.7, 9, 5.0, true);
	addRing(vSegments, 1.2, -1.5, 0.6, 7, 0.0, true);
	addRing(vSegments, 1.0, 1.6, 0.5, 8, 0.0, true);
	ConstraintGraph2* pGraph(dt.createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY, true));
	Zone2* pZone(dt.createZone(pGraph, ZL_INSIDE, false));
	GradedSizes params(pZone);
	params.minAngleDegree = 28.0;
	dt.refineAdvanced(&params);
	pZone->show(filename, false);
	std::printf("%zu zone triangles written to %s\n", pZone->getNumberOfTriangles(), filename);
	return 0;
}
