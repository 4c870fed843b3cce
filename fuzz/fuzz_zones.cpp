// Zones and their set operations on meshes with closed constraint polygons
// (possibly self-touching, crossing each other, degenerate): every zone holds
// live triangles only; the set operations agree with the set algebra of their
// operands' triangles, also after later insertions; INSIDE and OUTSIDE of one
// graph split the mesh; a cookie-cutter zone lies inside its polygon's box.
#include "FuzzSupport.h"

using namespace fuzz;

namespace {
typedef std::set<Triangle2*> TriangleSet;

TriangleSet trianglesOf(Zone2* pZone)
{
	std::vector<Triangle2*> v;
	if(pZone != nullptr) pZone->getTriangles(v);
	return TriangleSet(v.begin(), v.end());
}

// bSimple: the corners go strictly around a centre at distinct places, so the
// polygon does not cross itself.
std::vector<Segment2> decodePolygon(Bytes& in, bool& bSimple)
{
	bSimple = true;
	std::vector<Point2> vCorners;
	Point2 centre(in.point());
	double radius(std::ldexp(1.0, int(in.below(12)) - 4));
	for(size_t i = 0, n = 3 + in.below(6); i < n; ++i)
	{
		if(in.below(4) == 0)
		{
			vCorners.push_back(in.point()); // anywhere: may cross itself
			bSimple = false;
		}
		else
		{
			double angle(6.283185307179586 * (double(i) + 0.3 * double(in.below(4))) / double(n));
			vCorners.push_back(Point2(centre.x() + radius * std::cos(angle), centre.y() + radius * std::sin(angle), 0));
		}
	}
	// Rounding can merge or reorder corners near a huge centre.
	for(size_t i = 0; i < vCorners.size() && bSimple; ++i)
		bSimple = exactOrientation(centre, vCorners[i], vCorners[(i + 1) % vCorners.size()]) > 0;
	std::vector<Segment2> vPolygon;
	for(size_t i = 0; i < vCorners.size(); ++i) vPolygon.push_back(Segment2(vCorners[i], vCorners[(i + 1) % vCorners.size()]));
	return vPolygon;
}

void checkSetOperations(Zone2* pA, Zone2* pB, const TriangleSet& sLive)
{
	TriangleSet sA(trianglesOf(pA)), sB(trianglesOf(pB));
	for(Triangle2* pT : sA) FUZZ_CHECK(sLive.count(pT) == 1);
	for(Triangle2* pT : sB) FUZZ_CHECK(sLive.count(pT) == 1);
	TriangleSet sUnion(sA), sInter, sDiff, sSym;
	sUnion.insert(sB.begin(), sB.end());
	for(Triangle2* pT : sA) (sB.count(pT) ? sInter : sDiff).insert(pT);
	for(Triangle2* pT : sUnion)
		if(sInter.count(pT) == 0) sSym.insert(pT);
	// A result of nothing may come back as null.
	Zone2* aResult[4] = {zoneUnion(pA, pB), zoneIntersection(pA, pB), zoneDifference(pA, pB), zoneSymmetricDifference(pA, pB)};
	const TriangleSet* aExpected[4] = {&sUnion, &sInter, &sDiff, &sSym};
	for(int k = 0; k < 4; ++k) FUZZ_CHECK(trianglesOf(aResult[k]) == *aExpected[k]);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
	QuietStdout quiet;
	Bytes in(data, size);
	Mirel_2D dt(100);
	std::vector<Point2> vPoints;
	for(size_t i = 0, n = 3 + in.below(40); i < n; ++i) vPoints.push_back(in.point());
	dt.insert(vPoints);
	std::vector<ConstraintGraph2*> vGraphs;
	std::vector<bool> vSimple;
	for(size_t g = 0, n = 1 + in.below(3); g < n && !in.empty(); ++g)
	{
		bool bSimple(true);
		std::vector<Segment2> vPolygon(decodePolygon(in, bSimple));
		ConstraintGraph2* pGraph(dt.createConstraint(vPolygon, ConstraintInsertionStrategy(in.below(3)), true));
		if(pGraph == nullptr) continue;
		vGraphs.push_back(pGraph);
		vSimple.push_back(bSimple);
	}
	if(!dt.hasArea()) return 0;

	std::vector<Zone2*> vZones;
	vZones.push_back(dt.createZone(nullptr, ZL_GLOBAL, false));
	for(size_t g = 0; g < vGraphs.size(); ++g)
	{
		ConstraintGraph2* pGraph(vGraphs[g]);
		Zone2* pInside(dt.createZone(pGraph, ZL_INSIDE, false));
		Zone2* pOutside(dt.createZone(pGraph, ZL_OUTSIDE, false));
		TriangleSet sIn(trianglesOf(pInside)), sOut(trianglesOf(pOutside)), sAll(trianglesOf(vZones[0]));
		if(pInside != nullptr && pOutside != nullptr && vSimple[g])
		{
			// Inside and outside of one simple polygon split the mesh.
			for(Triangle2* pT : sIn) FUZZ_CHECK(sOut.count(pT) == 0);
			FUZZ_CHECK(sIn.size() + sOut.size() == sAll.size());
		}
		vZones.push_back(pInside);
		vZones.push_back(pOutside);
		vZones.push_back(dt.createZone(pGraph, ZL_GROW, in.point(), false));
	}
	if(!vGraphs.empty()) vZones.push_back(dt.createZone(vGraphs, ZL_INSIDE, false));
	bool bCutterSimple(true);
	std::vector<Segment2> vCutter(decodePolygon(in, bCutterSimple));
	Zone2* pCookie(dt.createZone_cookieCutter(vCutter, false));
	vZones.push_back(pCookie);
	vZones.erase(std::remove(vZones.begin(), vZones.end(), nullptr), vZones.end());

	for(int round = 0; round < 2; ++round)
	{
		std::vector<Triangle2*> vLive;
		dt.getTrianglePointers(vLive);
		TriangleSet sLive(vLive.begin(), vLive.end());
		for(size_t k = 0; k < 4 && vZones.size() >= 2; ++k)
			checkSetOperations(vZones[in.below(uint32_t(vZones.size()))], vZones[in.below(uint32_t(vZones.size()))], sLive);
		// Zones follow the mesh: insert more points and check again.
		std::vector<Point2> vMore;
		for(size_t i = 0, n = in.below(10); i < n; ++i) vMore.push_back(in.point());
		dt.insert(vMore);
		vPoints.insert(vPoints.end(), vMore.begin(), vMore.end());
	}
	std::vector<Point2*> vVtx;
	dt.getVertexPointers(vVtx);
	std::vector<Point2> vPlaces;
	for(Point2* pV : vVtx) vPlaces.push_back(*pV);
	validate(dt, vPlaces, true, !quiet.libraryGaveUp());
	return 0;
}
