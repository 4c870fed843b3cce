// Zones checked against an independent exact classifier: every triangle is
// placed by the winding number of its rational barycentre with respect to the
// rings the zone is bounded by, and areas are summed in rational arithmetic,
// so "inside", "outside", set operations and triangle-set zones are compared
// triangle by triangle, also after further point and constraint insertions.
#include "ConstraintGraph2.h"
#include "Zone2.h"
#include "freeFunctions.h"
#include "test_support.h"
#include <functional>
#include <iterator>

using namespace MIREL25D;

namespace {

typedef std::vector<Triangle2*> TriangleVec;
// A ring as it is realised in the mesh (split vertices included).
typedef std::vector<Point2> Ring;

mpq_class cross(const mpq_class& ax, const mpq_class& ay, const mpq_class& bx, const mpq_class& by, const mpq_class& cx, const mpq_class& cy)
{
	return (bx - ax) * (cy - ay) - (by - ay) * (cx - ax);
}

mpq_class exactArea2(const TriangleVec& vT)
{
	mpq_class sum(0);
	for(Triangle2* pT : vT) sum += meshcheck::triangleArea2(pT);
	return sum;
}

// A facade triangulation of n random points in [lo, hi]^2.
std::vector<Point2> insertRandom(Mirel_2D& dt, size_t n, double lo, double hi, unsigned seed)
{
	std::vector<Point2> vPoints;
	generateRandomPoints(n, lo, hi, vPoints, seed);
	dt.insert(vPoints);
	return vPoints;
}

// Winding number of the rational point (qx, qy) around the ring.
int windingNumber(const Ring& ring, const mpq_class& qx, const mpq_class& qy)
{
	int wn(0);
	for(size_t i = 0; i < ring.size(); ++i)
	{
		mpq_class ax(ring[i].x()), ay(ring[i].y());
		mpq_class bx(ring[(i + 1) % ring.size()].x()), by(ring[(i + 1) % ring.size()].y());
		if(ay <= qy)
		{
			if(by > qy && sgn(cross(ax, ay, bx, by, qx, qy)) > 0) ++wn;
		}
		else if(by <= qy && sgn(cross(ax, ay, bx, by, qx, qy)) < 0)
			--wn;
	}
	return wn;
}

// The exact centroid: strictly inside the triangle, so it tells which region
// the whole triangle lies in.
void exactCentroid(const Triangle2* pT, mpq_class& qx, mpq_class& qy)
{
	qx = 0;
	qy = 0;
	for(int i = 0; i < 3; ++i)
	{
		qx += pT->getCorner(i)->x();
		qy += pT->getCorner(i)->y();
	}
	qx /= 3;
	qy /= 3;
}

bool isInside(const Ring& ring, const Triangle2* pT)
{
	mpq_class qx, qy;
	exactCentroid(pT, qx, qy);
	return windingNumber(ring, qx, qy) != 0;
}

Ring realisedRing(ConstraintGraph2* pGraph)
{
	std::vector<Point2*> vVtx;
	pGraph->getPolygonVertices(vVtx);
	Ring ring;
	for(Point2* p : vVtx) ring.push_back(*p);
	return ring;
}

Ring ringOf(const std::vector<Segment2>& vPolygon)
{
	Ring ring;
	for(const Segment2& seg : vPolygon) ring.push_back(seg.getSrc());
	return ring;
}

TriangleVec trianglesOf(const Zone2* pZone)
{
	TriangleVec vT;
	pZone->getTriangles(vT);
	return vT;
}

TriangleVec allTriangles(Mirel_2D& dt)
{
	TriangleVec vT;
	dt.getTrianglePointers(vT);
	std::sort(vT.begin(), vT.end());
	return vT;
}

TriangleVec select(const TriangleVec& vAll, const std::function<bool(Triangle2*)>& pred)
{
	TriangleVec vT;
	std::copy_if(vAll.begin(), vAll.end(), std::back_inserter(vT), pred);
	return vT;
}

std::vector<Segment2> squareRing(double x0, double y0, double x1, double y1)
{
	Point2 a(x0, y0, 0), b(x1, y0, 0), c(x1, y1, 0), d(x0, y1, 0);
	return {Segment2(a, b), Segment2(b, c), Segment2(c, d), Segment2(d, a)};
}

// Insides and outsides of the realised rings, and result zones against the
// same sets formed independently.
struct ZoneSetup
{
	Zone2 *pIn0, *pOut0, *pIn1, *pGlobal;
	Zone2 *pUnion, *pInter, *pDiff, *pSym, *pNested;
	ConstraintGraph2 *pG0, *pG1;

	void check(Mirel_2D& dt) const
	{
		Ring r0(realisedRing(pG0)), r1(realisedRing(pG1));
		TriangleVec vAll(allTriangles(dt));
		auto in0 = [&](Triangle2* pT) { return isInside(r0, pT); };
		auto in1 = [&](Triangle2* pT) { return isInside(r1, pT); };
		EXPECT_EQ(trianglesOf(pGlobal), vAll);
		EXPECT_EQ(trianglesOf(pIn0), select(vAll, in0));
		EXPECT_EQ(trianglesOf(pOut0), select(vAll, [&](Triangle2* pT) { return !in0(pT); }));
		EXPECT_EQ(trianglesOf(pIn1), select(vAll, in1));
		EXPECT_EQ(trianglesOf(pUnion), select(vAll, [&](Triangle2* pT) { return in0(pT) || in1(pT); }));
		EXPECT_EQ(trianglesOf(pInter), select(vAll, [&](Triangle2* pT) { return in0(pT) && in1(pT); }));
		EXPECT_EQ(trianglesOf(pDiff), select(vAll, [&](Triangle2* pT) { return in0(pT) && !in1(pT); }));
		EXPECT_EQ(trianglesOf(pSym), select(vAll, [&](Triangle2* pT) { return in0(pT) != in1(pT); }));
		// (in0 u in1) \ ((in0 u in1) \ in0) == in0: results of results
		EXPECT_EQ(trianglesOf(pNested), trianglesOf(pIn0));
		// The realised ring bounds exactly the inside; the zone areas add up.
		EXPECT_TRUE(exactArea2(trianglesOf(pIn0)) == meshcheck::ringArea2(r0));
		EXPECT_TRUE(exactArea2(trianglesOf(pIn0)) + exactArea2(trianglesOf(pOut0)) == exactArea2(vAll));
		double sum(pIn0->getArea2D() + pOut0->getArea2D()), total(pGlobal->getArea2D());
		EXPECT_NEAR(sum, total, 1e-10 * total);
	}
};

} // namespace

TEST(Zones, ZonesAndSetOperationsFollowInsertionsAndConstraints)
{
	for(unsigned seed = 1; seed <= 4; ++seed)
	{
		Mirel_2D dt(1000);
		std::vector<Point2> vPoints(insertRandom(dt, 300 + 100 * seed, 10.0, 90.0, seed));
		// Corners of the first ring may lie outside the point cloud; odd seeds
		// give it backwards and shuffled, which the graph orders itself.
		std::vector<Segment2> vPoly0, vPoly1;
		generateRandomPolygon(5 + 4 * seed, 0.0, 70.0, vPoly0, 10 + seed);
		generateRandomPolygon(15, 30.0, 95.0, vPoly1, 20 + seed);
		std::vector<Segment2> vGiven(vPoly0);
		if(seed % 2 == 1)
		{
			for(Segment2& seg : vGiven) seg.swapSrcTrg();
			std::reverse(vGiven.begin(), vGiven.begin() + vGiven.size() / 2);
		}
		ZoneSetup s;
		s.pG0 = dt.createConstraint(vGiven, CIS_CONSTRAINED_DELAUNAY, false);
		ASSERT_TRUE(s.pG0->isPolygon());
		s.pG1 = dt.createConstraint(vPoly1, CIS_CONSTRAINED_DELAUNAY, false);
		s.pIn0 = dt.createZone(s.pG0, ZL_INSIDE);
		s.pOut0 = dt.createZone(s.pG0, ZL_OUTSIDE);
		s.pIn1 = dt.createZone(s.pG1, ZL_INSIDE);
		s.pGlobal = dt.createZone(nullptr, ZL_GLOBAL);
		s.pUnion = zoneUnion(s.pIn0, s.pIn1);
		s.pInter = zoneIntersection(s.pIn0, s.pIn1);
		s.pDiff = zoneDifference(s.pIn0, s.pIn1);
		s.pSym = zoneSymmetricDifference(s.pIn0, s.pIn1);
		s.pNested = zoneDifference(s.pUnion, zoneDifference(s.pUnion, s.pIn0));
		ASSERT_TRUE(s.pNested != nullptr);
		s.check(dt);
		// The zone's border is the ring, each edge seen from inside.
		std::vector<Edge2> vBorder;
		s.pIn0->getBorderEdges(vBorder);
		EXPECT_EQ(vBorder.size(), realisedRing(s.pG0).size());
		for(const Edge2& e : vBorder) EXPECT_TRUE(s.pG0->isConstraint(e.getSrc(), e.getTrg()));
		// An oriented copy of the given ring: clockwise given, it bounds the outside.
		Zone2* pOriented(dt.createZone(dt.createConstraint(vGiven, CIS_CONSTRAINED_DELAUNAY, true), ZL_INSIDE));
		EXPECT_EQ(trianglesOf(pOriented), trianglesOf(seed % 2 == 1 ? s.pOut0 : s.pIn0));
		// Same region through the cookie cutter on a twin triangulation.
		Mirel_2D twin(1000);
		twin.insert(vPoints);
		std::vector<Segment2> vCut(vPoly0);
		Zone2* pCut(twin.createZone_cookieCutter(vCut));
		ASSERT_TRUE(pCut != nullptr);
		EXPECT_TRUE(exactArea2(trianglesOf(pCut)) == meshcheck::ringArea2(ringOf(vPoly0)));

		// More points, inside and outside the old hull.
		insertRandom(dt, 400, -20.0, 120.0, 50 + seed);
		s.check(dt);
		// Constraints crossing both rings (split points are rounded: the
		// realised rings carry them) and a conforming one.
		std::vector<Segment2> vCross;
		generateRandomSegments(12, -10.0, 110.0, 80.0, vCross, 70 + seed);
		dt.createConstraint(vCross, CIS_CONSTRAINED_DELAUNAY, false);
		s.check(dt);
		std::vector<Segment2> vConforming{Segment2(Point2(-15, 50, 0), Point2(115, 47, 0))};
		dt.createConstraint(vConforming, CIS_CONFORMING_SEGMENT_HEIGHT, false);
		s.check(dt);
		EXPECT_TRUE(dt.checkValidity(false, "zones"));
	}
}

TEST(Zones, SeveralGraphsGrowZonesAndRefusals)
{
	Mirel_2D dt(500);
	std::vector<Point2> vPoints(insertRandom(dt, 300, 0.0, 100.0, 7));
	// Two squares sharing the edge x = 50.
	std::vector<Segment2> vLeft(squareRing(20, 20, 50, 60)), vRight(squareRing(50, 20, 80, 60));
	ConstraintGraph2* pLeft(dt.createConstraint(vLeft, CIS_CONSTRAINED_DELAUNAY, false));
	ConstraintGraph2* pRight(dt.createConstraint(vRight, CIS_CONSTRAINED_DELAUNAY, false));
	Ring both(ringOf(squareRing(20, 20, 80, 60)));
	TriangleVec vAll(allTriangles(dt));
	Zone2* pBothIn(dt.createZone(std::vector<ConstraintGraph2*>{pLeft, pRight}, ZL_INSIDE));
	Zone2* pBothOut(dt.createZone(std::vector<ConstraintGraph2*>{pLeft, pRight}, ZL_OUTSIDE));
	EXPECT_EQ(trianglesOf(pBothIn), select(vAll, [&](Triangle2* pT) { return isInside(both, pT); }));
	EXPECT_EQ(trianglesOf(pBothOut), select(vAll, [&](Triangle2* pT) { return !isInside(both, pT); }));
	EXPECT_EQ(pBothIn->numberOfConstraintGraphs(), 2u);
	std::string msg(mtest::captureStdout([&]() { EXPECT_EQ(pBothIn->getConstraintGraph(), nullptr); }));
	EXPECT_NE(msg.find("There is more than one constraint graph, use Zone2::getConstraintGraphs() instead. Returning NULL"), std::string::npos);

	// Growing: inside the closed left square, then through an open polyline.
	Zone2* pGrow(dt.createZone(pLeft, ZL_GROW, Point2(30, 30, 0)));
	mtest::ProgressLog listener;
	pGrow->subscribe(MSG_PROGRESS, &listener);
	pGrow->subscribe(MSG_PROGRESS, &listener);
	EXPECT_EQ(trianglesOf(pGrow), select(vAll, [&](Triangle2* pT) { return isInside(ringOf(vLeft), pT); }));
	EXPECT_TRUE(listener.complete());
	pGrow->unsubscribe(MSG_PROGRESS, &listener);
	listener.vValues.clear();
	pGrow->getNumberOfTriangles();
	EXPECT_TRUE(listener.vValues.empty());
	std::vector<Segment2> vOpen{Segment2(Point2(5, 90, 0), Point2(95, 85, 0)), Segment2(Point2(95, 85, 0), Point2(95, 70, 0))};
	ConstraintGraph2* pOpen(dt.createConstraint(vOpen, CIS_CONSTRAINED_DELAUNAY, false));
	vAll = allTriangles(dt);
	EXPECT_EQ(trianglesOf(dt.createZone(pOpen, ZL_GROW, Point2(90, 95, 0))), vAll);

	// Refusals: null results, nothing changed, and their messages (golden file;
	// set operations across triangulations all report under the union's heading).
	Mirel_2D empty(10), other(10);
	other.insert(vPoints);
	Zone2* pForeign(other.createZone(nullptr, ZL_GLOBAL));
	msg = mtest::captureStdout([&]() {
		EXPECT_EQ(dt.createZone(pOpen, ZL_INSIDE), nullptr);
		EXPECT_EQ(dt.createZone(nullptr, ZL_INSIDE, false), nullptr);
		EXPECT_EQ(dt.createZone(pLeft, ZL_INSIDE, Point2(30, 30, 0)), nullptr);
		EXPECT_EQ(dt.createZone(pLeft, ZL_GROW), nullptr);
		EXPECT_EQ(empty.createZone(nullptr, ZL_GLOBAL), nullptr);
		for(auto op : {zoneUnion, zoneIntersection, zoneDifference, zoneSymmetricDifference}) EXPECT_EQ(op(pBothIn, pForeign), nullptr);
	});
	mtest::expectGolden("zone_refusals.txt", msg);
	EXPECT_EQ(allTriangles(dt), vAll);
	EXPECT_TRUE(trianglesOf(zoneDifference(pBothIn, pBothIn)).empty());
	EXPECT_EQ(trianglesOf(zoneUnion(pBothIn, pBothIn)), trianglesOf(pBothIn));
	EXPECT_EQ(zoneUnion(pBothIn, pBothIn)->getZoneLocation(), ZL_UNION_RESULT);
	dt.deleteZone(pGrow);
}

namespace {

// Removes triangles by a fixed rule and checks, at each call, that the
// triangle lies on the current border: a neighbour missing, outside the
// original zone or already removed.
struct RecordingPredicate : public UserPredicateT
{
	RecordingPredicate(const TriangleVec& vZone, std::function<bool(const Triangle2*)> rule_) : sZone(vZone.begin(), vZone.end()), rule(rule_) {}
	bool operator()(const Triangle2* pT) override
	{
		++numCalls;
		EXPECT_EQ(sRemoved.count(pT), 0u);
		bool bExposed(false);
		for(int i = 0; i < 3; ++i)
		{
			Triangle2* pNeigh(pT->getOppositeTriangle(i));
			if(pNeigh == nullptr || sZone.count(pNeigh) == 0 || sRemoved.count(pNeigh) > 0) bExposed = true;
		}
		if(!bExposed) ++numInteriorCalls;
		bool bRemove(rule(pT));
		if(bRemove) sRemoved.insert(pT);
		return bRemove;
	}
	std::set<const Triangle2*> sZone, sRemoved;
	std::function<bool(const Triangle2*)> rule;
	size_t numCalls = 0, numInteriorCalls = 0;
};

} // namespace

TEST(Zones, PeelOffIfPeelsFromTheBorderInwards)
{
	Mirel_2D dt(1000);
	insertRandom(dt, 600, 0.0, 100.0, 3);
	std::vector<Segment2> vPolygon;
	generateRandomPolygon(20, 0.0, 100.0, vPolygon, 4);
	Zone2* pZone(dt.createZone(dt.createConstraint(vPolygon, CIS_CONSTRAINED_DELAUNAY, false), ZL_INSIDE));
	TriangleVec vZone(trianglesOf(pZone));

	RecordingPredicate always(vZone, [](const Triangle2*) { return true; });
	EXPECT_EQ(peelOffIf(pZone, &always, false), nullptr);
	EXPECT_EQ(always.sRemoved.size(), vZone.size());
	EXPECT_EQ(always.numInteriorCalls, 0u);

	RecordingPredicate never(vZone, [](const Triangle2*) { return false; });
	Zone2* pSame(peelOffIf(pZone, &never, false));
	ASSERT_TRUE(pSame != nullptr);
	EXPECT_EQ(trianglesOf(pSame), vZone);

	// Small triangles go: those reachable through small triangles from the border.
	auto small = [](const Triangle2* pT) { return pT->getArea2D() < 6.0; };
	RecordingPredicate some(vZone, small);
	std::string msg(mtest::captureStdout([&]() { pSame = peelOffIf(pZone, &some, true); }));
	EXPECT_NE(msg.find("Zone2::peelOffIf(), original Zone: numT="), std::string::npos);
	EXPECT_NE(msg.find("Output Zone: numT="), std::string::npos);
	EXPECT_EQ(some.numInteriorCalls, 0u);
	ASSERT_TRUE(pSame != nullptr);
	TriangleVec vLeft(trianglesOf(pSame));
	EXPECT_EQ(vLeft.size() + some.sRemoved.size(), vZone.size());
	// Fixpoint: a remaining triangle the rule would remove is enclosed.
	std::set<Triangle2*> sLeft(vLeft.begin(), vLeft.end());
	for(Triangle2* pT : vLeft)
	{
		EXPECT_EQ(some.sRemoved.count(pT), 0u);
		if(!small(pT)) continue;
		for(int i = 0; i < 3; ++i) EXPECT_EQ(sLeft.count(pT->getOppositeTriangle(i)), 1u);
	}
	EXPECT_GT(some.sRemoved.size(), 0u);

	mtest::captureStdout([&]() {
		EXPECT_EQ(peelOffIf(nullptr, &never, false), nullptr);
		EXPECT_EQ(peelOffIf(zoneDifference(pZone, pZone), &never, false), nullptr);
	});
}

TEST(Zones, TriangleSetZonesWithComponentsAndHolesSurviveInsertions)
{
	// Integer grid: many cocircular quadruples, and chosen cells that touch
	// only at corners.
	Mirel_2D dt(1000);
	std::vector<Point2> vGrid;
	for(int x = 0; x <= 20; ++x)
	{
		for(int y = 0; y <= 20; ++y) vGrid.push_back(Point2(x, y, 0.1 * x * y));
	}
	dt.insert(vGrid);
	auto centre = [](const Triangle2* pT, double& cx, double& cy) {
		cx = (pT->getCorner(0)->x() + pT->getCorner(1)->x() + pT->getCorner(2)->x()) / 3.0;
		cy = (pT->getCorner(0)->y() + pT->getCorner(1)->y() + pT->getCorner(2)->y()) / 3.0;
	};
	// A frame with a hole, a checkerboard block, and a lone triangle.
	auto chosen = [&](Triangle2* pT) {
		double cx, cy;
		centre(pT, cx, cy);
		bool bFrame(cx > 1 && cx < 9 && cy > 1 && cy < 9 && !(cx > 3 && cx < 6 && cy > 3 && cy < 6));
		bool bChecker(cx > 11 && cx < 19 && cy > 11 && cy < 19 && (int(cx) + int(cy)) % 2 == 0);
		return bFrame || bChecker;
	};
	TriangleVec vAll(allTriangles(dt)), vChosen(select(vAll, chosen));
	vChosen.push_back(select(vAll, [&](Triangle2* pT) {
		double cx, cy;
		centre(pT, cx, cy);
		return cx > 2 && cx < 3 && cy > 14 && cy < 15;
	}).front());
	std::sort(vChosen.begin(), vChosen.end());
	TriangleVec vGiven(vChosen);
	std::reverse(vGiven.begin(), vGiven.end());
	vGiven.push_back(vGiven.front()); // duplicates count once
	Zone2* pZone(dt.createZone(vGiven));
	ASSERT_TRUE(pZone != nullptr);
	EXPECT_EQ(trianglesOf(pZone), vChosen);
	EXPECT_GT(pZone->numberOfConstraintGraphs(), 10u);
	Zone2* pBounded(pZone->convertToBoundedZone());
	ASSERT_TRUE(pBounded != nullptr);
	EXPECT_EQ(pBounded->getZoneLocation(), ZL_BOUNDED);
	EXPECT_EQ(trianglesOf(pBounded), vChosen);

	// Save the region, then refine the mesh: the zone keeps exactly its region.
	std::vector<std::vector<Point2>> vRegion;
	for(Triangle2* pT : vChosen) vRegion.push_back({*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2)});
	mpq_class area(exactArea2(vChosen));
	insertRandom(dt, 800, -2.0, 22.0, 9);
	std::vector<Segment2> vCross{Segment2(Point2(-1, 0.5, 0), Point2(21, 18.25, 0))};
	dt.createConstraint(vCross, CIS_CONSTRAINED_DELAUNAY, false);
	vAll = allTriangles(dt);
	auto inRegion = [&](Triangle2* pT) {
		mpq_class qx, qy;
		exactCentroid(pT, qx, qy);
		for(const std::vector<Point2>& t : vRegion)
		{
			if(windingNumber(t, qx, qy) != 0) return true;
		}
		return false;
	};
	TriangleVec vNow(trianglesOf(pZone));
	EXPECT_GT(vNow.size(), vChosen.size());
	EXPECT_TRUE(exactArea2(vNow) == area);
	EXPECT_EQ(vNow, select(vAll, inRegion));
	EXPECT_EQ(trianglesOf(pBounded), vNow);
	EXPECT_TRUE(dt.checkValidity(false, "triangle set zone"));
}
