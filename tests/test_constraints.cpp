#include "ConstraintGraph2.h"
#include "ConstraintSegment2.h"
#include "Dt2.h"
#include "test_support.h"
#include "tools.h"

using namespace MIREL25D;

namespace {

// The alive leaves of each parent form one path from its one endpoint to the
// other (checked on the split tree alone, without the direction flags). With
// bExactOnSegment every leaf also lies on the parent exactly: all split
// vertices on the line, inside the segment.
int countChainFaults(ConstraintGraph2* pGraph, bool bExactOnSegment)
{
	int faults(0);
	std::vector<ConstraintSegment2*> vParents, vLeaves;
	pGraph->getOriginalConstraintSegments(vParents);
	for(ConstraintSegment2* pParent : vParents)
	{
		vLeaves.clear();
		if(pParent->isAlive()) vLeaves.push_back(pParent);
		else pParent->getChildrenRec(vLeaves);
		std::map<Point2*, std::vector<Point2*> > mAdj;
		for(ConstraintSegment2* pLeaf : vLeaves)
		{
			if(!pLeaf->isAlive()) ++faults;
			mAdj[pLeaf->getSrc()].push_back(pLeaf->getTrg());
			mAdj[pLeaf->getTrg()].push_back(pLeaf->getSrc());
			if(bExactOnSegment)
			{
				for(Point2* p : {pLeaf->getSrc(), pLeaf->getTrg()})
				{
					if(mtest::exactOrientation(*pParent->getSrc(), *pParent->getTrg(), *p) != 0) ++faults;
					Point2 lo(std::min(*pParent->getSrc(), *pParent->getTrg())), hi(std::max(*pParent->getSrc(), *pParent->getTrg()));
					if(*p < lo || hi < *p) ++faults;
				}
			}
		}
		// Walk the path from the source; it must end at the target after all leaves.
		Point2* pPrev(nullptr);
		Point2* pAt(pParent->getSrc());
		size_t numSteps(0);
		while(pAt != pParent->getTrg() && numSteps <= vLeaves.size())
		{
			const std::vector<Point2*>& vNext(mAdj[pAt]);
			Point2* pNext(nullptr);
			for(Point2* q : vNext)
			{
				if(q != pPrev) pNext = q;
			}
			if(pNext == nullptr || vNext.size() > (pAt == pParent->getSrc() ? 1u : 2u)) break;
			pPrev = pAt;
			pAt = pNext;
			++numSteps;
		}
		if(pAt != pParent->getTrg() || numSteps != vLeaves.size()) ++faults;
	}
	return faults;
}

// The directed chain of each parent (by the graph's reverse flags) runs
// from the directed source to the directed target without gaps; for graphs
// whose parents share no pieces in opposite directions.
int countDirectedChainFaults(ConstraintGraph2* pGraph)
{
	int faults(0);
	std::vector<ConstraintSegment2*> vParents, vChain;
	pGraph->getOriginalConstraintSegments(vParents);
	for(ConstraintSegment2* pParent : vParents)
	{
		vChain.clear();
		pGraph->getAliveConstraintChain(pParent, vChain);
		Point2* pAt(pGraph->isReverse(pParent) ? pParent->getTrg() : pParent->getSrc());
		for(ConstraintSegment2* pPiece : vChain)
		{
			Point2* pFrom(pGraph->isReverse(pPiece) ? pPiece->getTrg() : pPiece->getSrc());
			if(pFrom != pAt) ++faults;
			pAt = pGraph->isReverse(pPiece) ? pPiece->getSrc() : pPiece->getTrg();
		}
		if(pAt != (pGraph->isReverse(pParent) ? pParent->getSrc() : pParent->getTrg())) ++faults;
	}
	return faults;
}

// ---- Inputs ----

std::vector<Point2> randomPoints(std::mt19937& rng, size_t n, double range)
{
	return mtest::uniformPoints(rng, n, 0.0, range);
}

// Segments on an integer grid in the eight directions of 0, 45, 90 and 135
// degrees: every crossing of two of them is exactly representable (a
// multiple of 1/2), so the pieces can be checked to lie exactly on the input.
// Shared end points, T-junctions, collinear overlaps and segments through
// existing vertices are all frequent.
std::vector<Segment2> octilinearSegments(std::mt19937& rng, size_t n, int grid, int maxLen)
{
	std::uniform_int_distribution<int> coord(0, grid), len(1, maxLen), dir(0, 7);
	const int dx[8] = {1, 1, 0, -1, -1, -1, 0, 1};
	const int dy[8] = {0, 1, 1, 1, 0, -1, -1, -1};
	std::vector<Segment2> v;
	while(v.size() < n)
	{
		int x(coord(rng)), y(coord(rng)), l(len(rng)), d(dir(rng));
		int x1(x + l * dx[d]), y1(y + l * dy[d]);
		if(x1 < 0 || x1 > grid || y1 < 0 || y1 > grid) continue;
		v.emplace_back(Point2(x, y, x + y), Point2(x1, y1, x1 - y1));
	}
	return v;
}

// Arbitrary short segments; crossings are rounded to doubles.
std::vector<Segment2> randomSegments(std::mt19937& rng, size_t n, double range, double maxLen)
{
	std::uniform_real_distribution<double> u(0.0, range), d(-maxLen, maxLen);
	std::vector<Segment2> v;
	while(v.size() < n)
	{
		double x(u(rng)), y(u(rng));
		double x1(x + d(rng)), y1(y + d(rng));
		if(x1 < 0 || x1 > range || y1 < 0 || y1 > range) continue;
		v.emplace_back(Point2(x, y, 1), Point2(x1, y1, 2));
	}
	return v;
}

// A frame of four corners, so that every later point lies inside the hull.
Point2* insertFrame(Dt2& dt, double lo, double hi)
{
	Point2* p(dt.insert(Point2(lo, lo, 0)));
	dt.insert(Point2(hi, lo, 0));
	dt.insert(Point2(hi, hi, 0));
	dt.insert(Point2(lo, hi, 0));
	return p;
}

} // namespace

// ---- Constrained insertion ----

// Each strategy on octilinear segments (every crossing exact: the pieces lie
// exactly on their input segment) over integer points, many of them on the
// segments; constrained Delaunay also on arbitrary segments, whose crossings
// round, with shared end points and near-collinear overlaps.
TEST(ConstraintInsertion, EveryStrategyKeepsItsInvariants)
{
	for(int kind = 0; kind < 4; ++kind)
	{
		SCOPED_TRACE(kind);
		const bool bArbitrary(kind == 3);
		const ConstraintInsertionStrategy cis(kind == 1 ? CIS_CONFORMING_SEGMENT_HEIGHT : (kind == 2 ? CIS_CONFORMING_SURFACE_HEIGHT : CIS_CONSTRAINED_DELAUNAY));
		std::mt19937 rng(unsigned(kind) + 1);
		Dt2 dt(5000);
		insertFrame(dt, -1, bArbitrary ? 101 : 41);
		std::vector<Point2> vPoints(randomPoints(rng, bArbitrary ? 2000 : 300, bArbitrary ? 100 : 40));
		if(!bArbitrary)
			for(Point2& p : vPoints) p.setCoords(std::floor(p.x()), std::floor(p.y()), p.z());
		dt.insertVector(vPoints);
		std::vector<ConstraintGraph2*> vGraphs;
		for(int batch = 0; batch < (bArbitrary ? 1 : 3); ++batch)
		{
			std::vector<Segment2> vSegs(bArbitrary ? randomSegments(rng, 1500, 100, 8) : octilinearSegments(rng, 150, 40, 12));
			if(bArbitrary)
			{
				for(size_t i = 0; i + 1 < vSegs.size(); i += 7) vSegs[i + 1] = Segment2(vSegs[i].getTrg(), vSegs[i + 1].getTrg());
				for(size_t i = 3; i < vSegs.size(); i += 11)
				{
					Point2 a(vSegs[i - 3].getSrc()), b(vSegs[i - 3].getTrg());
					vSegs[i] = Segment2(a, Point2(a.x() + 0.5 * (b.x() - a.x()), a.y() + 0.5 * (b.y() - a.y()), 0));
				}
			}
			vGraphs.push_back(dt.createConstraint(vSegs, cis, false));
			ASSERT_NE(vGraphs.back(), nullptr);
		}
		mtest::validateMesh(dt, cis == CIS_CONSTRAINED_DELAUNAY ? mtest::EmptyCircles::exceptConstraints : mtest::EmptyCircles::everyEdge);
		for(ConstraintGraph2* pGraph : vGraphs) EXPECT_EQ(countChainFaults(pGraph, !bArbitrary), 0);
		std::vector<ConstraintSegment2*> vAll;
		dt.getAliveAndDeadConstraintSegments(vAll);
		size_t numDead(0);
		for(ConstraintSegment2* pCSeg : vAll) numDead += pCSeg->isAlive() ? 0 : 1;
		EXPECT_GT(numDead, 100u) << "the input must really cross";
		if(kind != 0) continue;
		// Later points, many exactly on constraint pieces (midpoints of pieces
		// on the half-integer grid are exact), then removal of vertices on no
		// constraint: every piece stays an edge.
		std::vector<ConstraintSegment2*> vAlive;
		dt.getAliveConstraintSegments(vAlive);
		for(size_t i = 0; i < vAlive.size(); i += 3)
		{
			const Point2 &a(*vAlive[i]->getSrc()), &b(*vAlive[i]->getTrg());
			dt.insert(Point2(0.5 * (a.x() + b.x()), 0.5 * (a.y() + b.y()), 0));
		}
		std::vector<Point2*> vLater;
		dt.insertVector(randomPoints(rng, 2000, 40), vLater);
		mtest::validateMesh(dt, mtest::EmptyCircles::exceptConstraints);
		size_t numRemoved(0);
		for(size_t i = 0; i < vLater.size(); i += 3)
		{
			if(dt.isConstraint(vLater[i]) || vLater[i]->getIncidentTriangle() == nullptr) continue;
			dt.remove(vLater[i]);
			++numRemoved;
		}
		EXPECT_GT(numRemoved, 300u);
		mtest::validateMesh(dt, mtest::EmptyCircles::exceptConstraints);
		for(ConstraintGraph2* pGraph : vGraphs) EXPECT_EQ(countChainFaults(pGraph, true), 0);
		// The library's own check agrees: constraint edges are exempt from the empty-circle test.
		EXPECT_TRUE(dt.checkValidity(true, "constrained"));
	}
}

// ---- Bookkeeping ----

TEST(ConstraintBookkeeping, CrossingSegmentsSplitIntoFourAliveHalves)
{
	Mirel_2D dt(100);
	std::vector<Segment2> vSegs{Segment2(Point2(0, 0, 0), Point2(2, 2, 2)), Segment2(Point2(0, 2, 4), Point2(2, 0, 0))};
	dt.insert(Point2(1, -3, 0));
	ConstraintGraph2* pGraph(dt.createConstraint(vSegs, CIS_CONSTRAINED_DELAUNAY, false));
	ASSERT_NE(pGraph, nullptr);
	std::vector<ConstraintSegment2*> vAlive, vAll;
	dt.getAliveConstraintSegments(vAlive);
	dt.getAliveAndDeadConstraintSegments(vAll);
	EXPECT_TRUE(vAlive.size() == 4u && vAll.size() == 6u);
	ASSERT_EQ(pGraph->getSplitVertices().size(), 1u);
	Point2* pCross(*pGraph->getSplitVertices().begin());
	EXPECT_TRUE(pCross->samePoint(Point2(1, 1, 1.5))); // the mean of 1 and 2 on the two segments
	EXPECT_TRUE(dt.isConstraint(pCross));
	for(ConstraintSegment2* pCSeg : vAlive)
	{
		EXPECT_TRUE(pCSeg->getSrc() == pCross || pCSeg->getTrg() == pCross);
		EXPECT_EQ(dt.getConstraintSegment(pCSeg->getTrg(), pCSeg->getSrc()), pCSeg);
		EXPECT_TRUE(dt.isConstraint(pCSeg->getSrc(), pCSeg->getTrg()));
	}
	// The dead parents are no constraints any more.
	for(ConstraintSegment2* pCSeg : vAll)
	{
		if(!pCSeg->isAlive())
		{
			EXPECT_FALSE(dt.isConstraint(pCSeg->getSrc(), pCSeg->getTrg()));
		}
	}
	// A constraint vertex stays: removal is refused with a warning.
	size_t numPoints(dt.numberOfPoints());
	std::string out(mtest::captureStdout([&] { dt.remove(pCross); }));
	EXPECT_NE(out.find("Dt2::remove(..), WARNING: Illegal: Can't remove a constraint vertex"), std::string::npos);
	EXPECT_EQ(dt.numberOfPoints(), numPoints);
	EXPECT_TRUE(dt.isConstraint(pCross));
	EXPECT_TRUE(dt.checkValidity(true, "constraintVertexKept"));
}

TEST(ConstraintBookkeeping, SharedSegmentHasOneObjectAndEveryOwnerFollowsItsSplits)
{
	Mirel_2D dt(100);
	dt.insert(Point2(5, -5, 0));
	std::vector<Segment2> vFirst{Segment2(Point2(0, 0, 0), Point2(4, 0, 0))};
	std::vector<Segment2> vSecond{Segment2(Point2(4, 0, 0), Point2(0, 0, 0))};
	ConstraintGraph2* pG1(dt.createConstraint(vFirst, CIS_CONSTRAINED_DELAUNAY, true));
	ConstraintGraph2* pG2(dt.createConstraint(vSecond, CIS_CONSTRAINED_DELAUNAY, true));
	std::vector<ConstraintSegment2*> v1, v2;
	pG1->getOriginalConstraintSegments(v1);
	pG2->getOriginalConstraintSegments(v2);
	ASSERT_TRUE(v1.size() == 1u && v1 == v2);
	EXPECT_EQ(v1[0]->getNumberOfOwners(), 2u);
	EXPECT_NE(pG1->isReverse(v1[0]), pG2->isReverse(v1[0]));

	// A third graph crosses it: both owners see the split and keep their directions.
	std::vector<Segment2> vCross{Segment2(Point2(1, -1, 0), Point2(1, 1, 0))};
	dt.createConstraint(vCross, CIS_CONSTRAINED_DELAUNAY, false);
	for(ConstraintGraph2* pG : {pG1, pG2})
	{
		std::vector<ConstraintSegment2*> vChain;
		pG->getAliveConstraintChain(v1[0], vChain);
		ASSERT_EQ(vChain.size(), 2u);
		EXPECT_TRUE(pG->getSplitVertices().size() == 1u);
		EXPECT_EQ(countChainFaults(pG, true) + countDirectedChainFaults(pG), 0);
	}
	ConstraintSegment2 *pKid0(nullptr), *pKid1(nullptr);
	pG1->getDirectChildren(v1[0], pKid0, pKid1);
	Point2* pStart1(pG1->isReverse(v1[0]) ? v1[0]->getTrg() : v1[0]->getSrc());
	EXPECT_TRUE(pKid0->getSrc() == pStart1 || pKid0->getTrg() == pStart1);
}

TEST(ConstraintBookkeeping, PolygonIsStoredCounterclockwiseFromLeftmostVertex)
{
	Mirel_2D dt(100);
	// A triangle given clockwise and out of order, then split by a crossing.
	std::vector<Segment2> vRing{Segment2(Point2(4, 0, 0), Point2(0, 0, 0)), Segment2(Point2(2, 3, 0), Point2(4, 0, 0)), Segment2(Point2(0, 0, 0), Point2(2, 3, 0))};
	ConstraintGraph2* pRing(dt.createConstraint(vRing, CIS_CONSTRAINED_DELAUNAY, false));
	EXPECT_TRUE(pRing->isPolygon() && pRing->isOriented());
	std::vector<Point2*> vVertices;
	pRing->getPolygonVertices(vVertices);
	ASSERT_EQ(vVertices.size(), 3u);
	EXPECT_TRUE(*vVertices[0] == Point2(0, 0, 0) && *vVertices[1] == Point2(4, 0, 0) && *vVertices[2] == Point2(2, 3, 0));

	std::vector<Segment2> vCut{Segment2(Point2(2, -1, 0), Point2(2, 1, 0))};
	dt.createConstraint(vCut, CIS_CONSTRAINED_DELAUNAY, false);
	vVertices.clear();
	pRing->getPolygonVertices(vVertices);
	ASSERT_EQ(vVertices.size(), 4u);
	EXPECT_TRUE(*vVertices[1] == Point2(2, 0, 0) && *vVertices[2] == Point2(4, 0, 0));

	// Not polygons: an open chain, a vertex of degree three, two rings.
	std::vector<Segment2> vOpen{Segment2(Point2(10, 0, 0), Point2(11, 0, 0)), Segment2(Point2(11, 0, 0), Point2(11, 1, 0)), Segment2(Point2(11, 1, 0), Point2(10, 2, 0))};
	EXPECT_FALSE(dt.createConstraint(vOpen, CIS_CONSTRAINED_DELAUNAY, false)->isPolygon());
	std::vector<Segment2> vTwoRings;
	for(double ox : {20.0, 30.0})
	{
		vTwoRings.emplace_back(Point2(ox, 0, 0), Point2(ox + 2, 0, 0));
		vTwoRings.emplace_back(Point2(ox + 2, 0, 0), Point2(ox + 1, 2, 0));
		vTwoRings.emplace_back(Point2(ox + 1, 2, 0), Point2(ox, 0, 0));
	}
	ConstraintGraph2* pTwo(dt.createConstraint(vTwoRings, CIS_CONSTRAINED_DELAUNAY, false));
	EXPECT_FALSE(pTwo->isPolygon() || pTwo->isOriented());
	std::vector<Segment2> vDegree3(vRing);
	vDegree3.emplace_back(Point2(2, 3, 0), Point2(2, 6, 0));
	EXPECT_FALSE(dt.createConstraint(vDegree3, CIS_CONSTRAINED_DELAUNAY, false)->isPolygon());
}

TEST(ConstraintBookkeeping, ConstraintsBeforeAreaAreEstablishedLater)
{
	Mirel_2D dt(100);
	std::vector<Segment2> vSegs{Segment2(Point2(0, 0, 0), Point2(4, 4, 0)), Segment2(Point2(0, 4, 0), Point2(4, 0, 0))};
	ConstraintGraph2* pGraph(dt.createConstraint(vSegs, CIS_CONSTRAINED_DELAUNAY, false));
	ASSERT_TRUE(dt.hasArea()); // four non-collinear end points
	std::vector<ConstraintSegment2*> vAlive;
	dt.getAliveConstraintSegments(vAlive);
	EXPECT_EQ(vAlive.size(), 4u);

	Mirel_2D flat(100);
	std::vector<Segment2> vLine{Segment2(Point2(0, 0, 0), Point2(4, 0, 0))};
	pGraph = flat.createConstraint(vLine, CIS_CONSTRAINED_DELAUNAY, false);
	ASSERT_NE(pGraph, nullptr);
	std::string out(mtest::captureStdout([&] { flat.applyConstraintsAndZones(); }));
	EXPECT_NE(out.find("Dt2::applyConstraintsAndZones(), WARNING: The triangulation has no area yet."), std::string::npos);
	flat.insert(Point2(2, -2, 0));
	flat.insert(Point2(2, 1, 0)); // the segment is not an edge of this triangulation yet
	flat.insert(Point2(2, 3, 0));
	flat.applyConstraintsAndZones();
	std::vector<ConstraintSegment2*> vPieces;
	pGraph->getChildConstraintSegments(vPieces);
	EXPECT_FALSE(vPieces.empty());
	mtest::validateMesh(*flat.getImpl(), mtest::EmptyCircles::exceptConstraints);
}

TEST(ConstraintBookkeeping, VertexFilterFromTenThousandVertices)
{
	std::mt19937 rng(3);
	Dt2 dt(20000);
	insertFrame(dt, -1, 101);
	std::vector<Point2> vPoints(randomPoints(rng, 12000, 100));
	std::vector<Point2*> vHandles;
	dt.insertVector(vPoints, vHandles);
	std::vector<Segment2> vSegs(randomSegments(rng, 200, 100, 5));
	dt.createConstraint(vSegs, CIS_CONSTRAINED_DELAUNAY, false);
	// Whatever the filter says, the answers equal the plain lookup.
	std::vector<ConstraintSegment2*> vAll;
	dt.getAliveAndDeadConstraintSegments(vAll);
	std::set<std::pair<Point2*, Point2*> > sAlive;
	for(ConstraintSegment2* pCSeg : vAll)
	{
		if(pCSeg->isAlive()) sAlive.emplace(pCSeg->getSrc(), pCSeg->getTrg());
		EXPECT_EQ(dt.isConstraint(pCSeg->getSrc(), pCSeg->getTrg()), pCSeg->isAlive());
		EXPECT_TRUE(dt.isConstraint(pCSeg->getSrc()));
	}
	for(size_t i = 0; i + 1 < vHandles.size(); ++i)
	{
		Point2* a(std::min(vHandles[i], vHandles[i + 1]));
		Point2* b(std::max(vHandles[i], vHandles[i + 1]));
		EXPECT_EQ(dt.isConstraint(a, b), sAlive.count(std::make_pair(a, b)) != 0);
	}
}

TEST(ConstraintBookkeeping, MakeDelaunaySplitsUntilPiecesAreDelaunay)
{
	Mirel_2D dt(100);
	dt.insert(Point2(0, -1, 0));
	dt.insert(Point2(10, -1, 0));
	dt.insert(Point2(5, 0.3, 0)); // close above the segment
	dt.insert(Point2(5, -0.4, 0));
	std::vector<Segment2> vSegs{Segment2(Point2(0, 0, 0), Point2(10, 0, 10))};
	ConstraintGraph2* pGraph(dt.createConstraint(vSegs, CIS_CONSTRAINED_DELAUNAY, false));
	EXPECT_FALSE(pGraph->makeDelaunay(100.0)); // every bad piece is too short: nothing changes
	std::vector<ConstraintSegment2*> vPieces;
	pGraph->getChildConstraintSegments(vPieces);
	EXPECT_EQ(vPieces.size(), 1u);
	EXPECT_TRUE(pGraph->makeDelaunay(0.001));
	mtest::validateMesh(*dt.getImpl(), mtest::EmptyCircles::everyEdge);
	vPieces.clear();
	pGraph->getChildConstraintSegments(vPieces);
	EXPECT_GT(vPieces.size(), 1u);
}

