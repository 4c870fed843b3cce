// A program written against the installed package through the umbrella header
// alone. It names and uses every exported class and family, so that a header
// missing from the install or from Mirel25D.h, or a symbol missing from the
// shared library, fails here first. Exit code 0 when every check holds.
#include "Mirel25D.h"
#include <cmath>
#include <iostream>
#include <set>
#include <sstream>
#include <utility>
#include <vector>
using namespace MIREL25D;

namespace {
int numFailures(0);
void check(bool bOk, const char* what)
{
	if(!bOk)
	{
		std::cout << "consumer: FAILED " << what << std::endl;
		++numFailures;
	}
}

struct ProgressCounter : public MsgBase
{
	int numReports = 0;
	void update(MsgType, double) override { ++numReports; }
};

// Peels the triangles that touch the left side of the square.
struct TouchesLeftSide : public UserPredicateT
{
	bool operator()(const Triangle2* pT) override
	{
		return pT->getCorner(0)->x() == 20.0 || pT->getCorner(1)->x() == 20.0 || pT->getCorner(2)->x() == 20.0;
	}
};
} // namespace

int main()
{
	std::cout << getMirel2DVersion() << " (" << getMajorVersionNumber() << "." << getMinorVersionNumber() << "." << getRevisionNumber()
			  << (isRelease() ? ", release" : "") << ")" << std::endl;

	// The README's usage example: five points, four of them on the hull.
	std::vector<Point2> vPoints{Point2(0, 0, 10), Point2(100, 0, 12), Point2(100, 100, 15), Point2(0, 100, 11), Point2(40, 60, 20)};
	Mirel_2D dt(static_cast<unsigned int>(vPoints.size()));
	ProgressCounter progress;
	dt.subscribe(MSG_PROGRESS, &progress);
	dt.insert(vPoints);
	dt.unsubscribe(MSG_PROGRESS, &progress);
	std::vector<Triangle2*> vTriangles;
	dt.getTrianglePointers(vTriangles);
	check(vTriangles.size() == 4, "2n - 2 - h triangles");
	for(Triangle2* pT : vTriangles) std::cout << *pT->getCorner(0) << " " << *pT->getCorner(1) << " " << *pT->getCorner(2) << std::endl;

	// Value types and predicates.
	Point2 a(0, 0, 0), b(1, 0, 0), c(0, 1, 0);
	check(getOrientation2(&a, &b, &c) == ORIENTATION2_CCW && getOrientation2_mt(&a, &c, &b) == ORIENTATION2_CW, "orientation");
	check(std::string(getString(ORIENTATION2_COLLINEAR)) == "ORIENTATION2_COLLINEAR", "getString");
	GeomTest geomTest;
	geomTest.setStaticBound_MT(1.0);
	Triangle2 t(&a, &b, &c);
	Point2 far(5, 5, 0);
	check(geomTest.circleInc3state(&t, &far) == CINC2_OUTCIRCLE && geomTest.getOrientation2(&t, 0, &a) == ORIENTATION2_CCW, "GeomTest");
	Vector2 v(crossProduct(Vector2(1, 0, 0), Vector2(0, 1, 0)));
	check(v.z() == 1.0 && MIREL_PI > 3.14, "Vector2");
	Bbox2 box(dt.computeBoundingBox());
	check(box.isInBox(Point2(50, 50, 0)), "Bbox2");
	Circle2 circle(Point2(50, 50, 0), 100.0);
	std::ostringstream text;
	text << circle << " " << Segment2(a, b);
	check(!text.str().empty(), "Circle2 and Segment2 output");
	check(sqDistance2D(a, b) == 1.0 && sqDistance25D(a, c) == 1.0 && getExactHeight(a, b, c, 0.5, 0.25) == 0.0, "distances and heights");
	std::set<Point2, Func_ltPointXYZ> sByXYZ{a, b, c, Point2(0, 0, 1)};
	std::set<const Segment2*, Func_compareSegment> sSegments;
	Segment2 ab(a, b);
	sSegments.insert(&ab);
	check(sByXYZ.size() == 4 && sSegments.size() == 1, "comparators");

	// Generators and point files.
	std::vector<Point2> vRandom, vReadBack;
	generateRandomPoints(100, 0.0, 100.0, vRandom, 1);
	check(vRandom.size() == 100, "generators");
	check(writePointsASCII("consumer_points.xyz", vRandom) && readXYZ("consumer_points.xyz", vReadBack) && vReadBack.size() == 100, "point files");
	sendWarning("consumer", "a warning through the library's message channel");

	// Mesh navigation.
	Point2* pCentre(dt.locate(Point2(40, 60, 0))->getCorner(0));
	int numFan(0);
	TriangleAroundVertexIterator start(pCentre), it(start);
	do
	{
		if(*it != nullptr) ++numFan;
		++it;
	} while(it != start && numFan < 100);
	check(numFan > 0, "TriangleAroundVertexIterator");
	Edge2 edge(vTriangles[0], 0);
	VertexPair2 pair(edge.getSrc(), edge.getTrg());
	check(edge.getLength2D() > 0 && pair.getSqLen2D() > 0, "Edge2 and VertexPair2");

	// Constraints, zones and the segment checker.
	std::vector<Segment2> vSquare{Segment2(Point2(20, 20, 0), Point2(80, 20, 0)), Segment2(Point2(80, 20, 0), Point2(80, 80, 0)),
								  Segment2(Point2(80, 80, 0), Point2(20, 80, 0)), Segment2(Point2(20, 80, 0), Point2(20, 20, 0))};
	std::vector<Segment2*> vSegmentPointers;
	for(Segment2& seg : vSquare) vSegmentPointers.push_back(&seg);
	SegmentChecker checker(vSegmentPointers);
	std::vector<Segment2*> vIllegal;
	checker.getIllegalSegments(false, vIllegal);
	check(vIllegal.empty(), "SegmentChecker");
	ConstraintGraph2* pGraph(dt.createConstraint(vSquare, CIS_CONSTRAINED_DELAUNAY));
	check(pGraph != nullptr && pGraph->isPolygon(), "ConstraintGraph2");
	std::vector<ConstraintSegment2*> vPieces;
	dt.getAliveConstraintSegments(vPieces);
	std::set<ConstraintSegment2*, Func_ltConstraintSegment2> sPieces(vPieces.begin(), vPieces.end());
	check(sPieces.size() == 4 && vPieces[0]->isAlive(), "ConstraintSegment2");
	Zone2* pInside(dt.createZone(pGraph, ZL_INSIDE));
	Zone2* pGlobal(dt.createZone(pGraph, ZL_GLOBAL));
	Zone2* pOutside(zoneDifference(pGlobal, pInside));
	Zone2* pUnion(zoneUnion(pInside, pOutside));
	Zone2* pIntersection(zoneIntersection(pInside, pOutside));
	Zone2* pSymmetric(zoneSymmetricDifference(pInside, pOutside));
	check(pUnion != nullptr && pIntersection != nullptr && pSymmetric != nullptr && pIntersection->getNumberOfTriangles() == 0 &&
			  pUnion->getNumberOfTriangles() == pGlobal->getNumberOfTriangles(),
		"zone set operations");
	TouchesLeftSide touchesLeftSide;
	Zone2* pPeeled(peelOffIf(pInside, &touchesLeftSide));
	check(pInside != nullptr && pOutside != nullptr && pPeeled != nullptr, "zones made");
	std::cout.precision(17);
	std::cout << "inside " << pInside->getArea2D() << ", outside " << pOutside->getArea2D() << ", peeled " << pPeeled->getArea2D() << std::endl;
	// Areas are sums of doubles: equal up to rounding.
	check(std::fabs(pInside->getArea2D() - 3600.0) < 1e-9 && std::fabs(pOutside->getArea2D() - 6400.0) < 1e-9 && pPeeled->getArea2D() < 3500.0, "Zone2 areas");

	// Export and drawing.
	MirelExport record;
	dt.exportTriangulation(record, false, false);
	check(record.numTriangles == int32_t(dt.numberOfTriangles()) && record.numPoints == int32_t(dt.numberOfPoints()), "MirelExport");
	Visualizer2 vis("consumer.ps");
	Color red(CRED), blue(0.0f, 0.0f, 1.0f, 0.01f, true);
	vis.addObject(vTriangles, red);
	vis.addObject(Label(a, "origin"), blue);
	vis.addObject(circle, Color(Color::getNextColorName()));
	vis.writeFile();
	check(red != blue, "Visualizer2, Color and Label");

	// Terrain tools and the 3D writers.
	std::vector<Triangle2*> vAll;
	dt.getTrianglePointers(vAll);
	double height(0.0);
	check(dt.getHeight(40, 60, height) && height == 20.0, "getHeight");
	std::vector<Segment2> vDrapeIn{Segment2(Point2(10, 50, 0), Point2(90, 50, 0))}, vDrapeOut;
	check(dt.drape(vDrapeIn, vDrapeOut, -1.0) && !vDrapeOut.empty(), "drape");
	IsoContours contours(vAll);
	std::vector<std::vector<Segment2>> vvContours;
	check(contours.getContours(13.5, vvContours, false, true) && !vvContours.empty(), "IsoContours");
	CutAndFill cutAndFill(pInside, pInside);
	check(cutAndFill.go() && cutAndFill.getNumberOfComponents() > 0 && cutAndFill.getComponent(0)->getCAFType() == CT_NULL &&
			  cutAndFill.getComponent(0)->getVolume() == 0.0,
		"CutAndFill and CAF_Component");
	{
		Visualizer3 scene("consumer.list");
		scene.writeTriangles(vAll, Visualizer3::CYELLOW, true);
	}
	dt.writeObj("consumer.obj");
	check(pInside->smoothing(1), "Zone2 surface operations");

	// Quality meshing of the square inside the constraints.
	MeshGenParams params(pInside);
	params.minAngleDegree = 20.0;
	params.maxEdgeLength = 20.0;
	dt.refineAdvanced(&params);
	check(pInside->getNumberOfTriangles() > 2 && std::fabs(pInside->getArea2D() - 3600.0) < 1e-9, "MeshGenParams and refineAdvanced");

	// Misuse reaches the caller as a MirelException.
	bool bThrown(false);
	try
	{
		getOrientation2(nullptr, &b, &c);
	}
	catch(const MirelException& e)
	{
		bThrown = std::string(e.what()).find("p0!=0") != std::string::npos;
	}
	check(bThrown, "MirelException");

	dt.deleteZone(pPeeled);
	dt.deleteZone(pOutside);
	std::cout << (numFailures == 0 ? "consumer: all checks passed" : "consumer: checks failed") << std::endl;
	return numFailures == 0 ? 0 : 1;
}
