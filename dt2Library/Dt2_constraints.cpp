// Constraint insertion: constrained (the segment becomes an edge by
// retriangulating the region it crosses) and conforming (the segment is split
// at new vertices until each piece is a Delaunay edge), plus the constraint
// queries of the triangulation and the lock that keeps flips off constraint
// edges.
#include "ConstraintGraph2.h"
#include "ConstraintMgr.h"
#include "ConstraintSegment2.h"
#include "Dt2.h"
#include "MeshSurgery.h"
#include "tools.h"
#include <algorithm>
#include <cmath>

namespace MIREL25D {

// Work lists of the segment walk and the retriangulation, reused across
// segments so that establishing a segment allocates nothing once warm.
struct ConstraintWork
{
	// Crossed triangles and crossed edges of the last walk, in walk order.
	std::vector<Triangle2*> vCrossedT;
	std::vector<std::pair<Point2*, Point2*> > vCrossedEdges;
	// Edges made by the flips that open the way for a new edge; checked for
	// the Delaunay property afterwards.
	std::vector<std::pair<Point2*, Point2*> > vNewEdges;
	std::vector<std::pair<Triangle2*, int> > vBfsQueue;
	// Endpoint pairs of segments split since the last check: where the old
	// edge is still in the mesh it is no longer locked and may fail the
	// in-circle test.
	std::vector<std::pair<Point2*, Point2*> > vUnlockedEdges;
	// Conforming constraint edges whose flip was refused: they may no longer
	// be Delaunay and are checked by the next conforming insertion.
	std::vector<std::pair<Point2*, Point2*> > vLockedConforming;
};

namespace {

enum SegmentWalkResult
{
	SWR_EDGE_EXISTS,   // the segment already is an edge
	SWR_TARGET,        // reached the target; the crossed region is recorded
	SWR_VERTEX,        // an existing vertex lies in the segment's interior
	SWR_CROSSING       // an alive constraint edge crosses the segment
};

// For collinear a, c, b: c lies on the ray from a towards b. On a common line
// the (x, y) order is the line order, so the comparison is exact.
bool isOnRay(const Point2* a, const Point2* c, const Point2* b)
{
	return (*a < *c) == (*a < *b);
}

// z at (x, y) along the segment a-b, by the parameter along its longer axis.
double heightAlong(const Point2& a, const Point2& b, double x, double y)
{
	double dx(b.x() - a.x()), dy(b.y() - a.y());
	if(dx == 0 && dy == 0) return a.z();
	double t(std::fabs(dx) >= std::fabs(dy) ? (x - a.x()) / dx : (y - a.y()) / dy);
	return a.z() + t * (b.z() - a.z());
}

} // namespace

// ======================================================================
// Queries and the flip lock
// ======================================================================

void Dt2::createConstraintMachinery()
{
	pConstraintMgr = new ConstraintMgr(this);
	pConstraintWork = new ConstraintWork;
}

void Dt2::destroyConstraintMachinery()
{
	delete pConstraintMgr;
	delete pConstraintWork;
	pConstraintMgr = nullptr;
	pConstraintWork = nullptr;
}

ConstraintGraph2* Dt2::createConstraint(std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis, bool orientedSegments)
{
	if(vSegments.empty())
	{
		sendWarning("Dt2::createConstraint(..)", "vSegments is empty, returning NULL");
		return nullptr;
	}
	bConstraintsExist = true;
	return pConstraintMgr->createConstraint(vSegments, cis, orientedSegments);
}

ConstraintSegment2* Dt2::getConstraintSegment(Point2* p0, Point2* p1) const
{
	return pConstraintMgr->getConstraintSegment(p0, p1);
}

void Dt2::getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vAliveConstraintSegments) const
{
	pConstraintMgr->getAliveConstraintSegments(vAliveConstraintSegments);
}

void Dt2::getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vAllConstraintSegments) const
{
	pConstraintMgr->getAliveAndDeadConstraintSegments(vAllConstraintSegments);
}

bool Dt2::isConstraint(Point2* p0, Point2* p1) const
{
	return pConstraintMgr->isConstraint(p0, p1);
}

bool Dt2::isConstraint(Point2* p) const
{
	return pConstraintMgr->isConstraint(p);
}

bool Dt2::isConstraint(Triangle2* pT, int ith) const
{
	return pConstraintMgr->isConstraint(pT, ith);
}

void Dt2::applyConstraintsAndZones()
{
	if(!hasArea())
	{
		sendWarning("Dt2::applyConstraintsAndZones()", "The triangulation has no area yet.");
		return;
	}
	pConstraintMgr->applyAll();
}

// Asked only for flips the in-circle test wants, so the common case costs
// nothing; a refused conforming edge is remembered because it may have
// stopped being Delaunay.
bool Dt2::isFlipLocked(Triangle2* pT, int i)
{
	Point2* p(pT->getCorner(nextIndex(i)));
	Point2* q(pT->getCorner(prevIndex(i)));
	if(!pConstraintMgr->isConstraint(p, q)) return false;
	ConstraintSegment2* pCSeg(pConstraintMgr->getConstraintSegment(p, q));
	if(pCSeg != nullptr && pCSeg->getCIS() != CIS_CONSTRAINED_DELAUNAY) pConstraintWork->vLockedConforming.emplace_back(p, q);
	return true;
}

// The alive constraint segment on edge e of pT, for an insertion that is about
// to split that edge; null if none.
ConstraintSegment2* Dt2::getConstraintOnEdge(Triangle2* pT, int e) const
{
	if(!bConstraintsExist) return nullptr;
	Point2* p(pT->getCorner(nextIndex(e)));
	Point2* q(pT->getCorner(prevIndex(e)));
	if(!pConstraintMgr->isConstraint(p, q)) return nullptr;
	return pConstraintMgr->getConstraintSegment(p, q);
}

bool Dt2::canBeFlipped(Triangle2* pT, int ith) const
{
	return pT->getOppositeTriangle(ith) != nullptr && !pConstraintMgr->isConstraint(pT, ith);
}

// ======================================================================
// Walking along a segment
// ======================================================================

// Finds, in the fan of a, the triangle through which the segment a->b leaves
// a; or finds that a-b is an edge, or that a vertex of the fan lies on it.
int Dt2::findSegmentStart(Point2* a, Point2* b, Triangle2*& pStartT, int& startEdge, Point2*& pVertexOnSegment)
{
	Triangle2* pFirst(a->getIncidentTriangle());
	MIREL_ASSERT(pFirst!=0);
	int result(-1);
	Triangle2* pFound(MeshSurgery::findInFan(a, pFirst, [&](Triangle2* pT) {
		int i(pT->getIntraTriangleIndex(a));
		Point2* c1(pT->getCorner(nextIndex(i)));
		Point2* c2(pT->getCorner(prevIndex(i)));
		if(c1 == b || c2 == b)
		{
			result = SWR_EDGE_EXISTS;
			return true;
		}
		Orientation2 ori1(geomTest.getOrientation2(a, c1, b));
		Orientation2 ori2(geomTest.getOrientation2(a, c2, b));
		MIREL_ASSERT(!(ori1==ORIENTATION2_COLLINEAR && ori2==ORIENTATION2_COLLINEAR));
		if(ori1 == ORIENTATION2_COLLINEAR && isOnRay(a, c1, b))
		{
			pVertexOnSegment = c1;
			result = SWR_VERTEX;
			return true;
		}
		if(ori2 == ORIENTATION2_COLLINEAR && isOnRay(a, c2, b))
		{
			pVertexOnSegment = c2;
			result = SWR_VERTEX;
			return true;
		}
		if(ori1 == ORIENTATION2_CCW && ori2 == ORIENTATION2_CW)
		{
			pStartT = pT;
			startEdge = i;
			result = SWR_TARGET;
			return true;
		}
		return false;
	}));
	// The segment leaves a through one of its triangles (b is not a).
	MIREL_ASSERT(pFound!=0);
	return result;
}

// Walks from a towards b through the triangles the segment crosses, recording
// them and the crossed edges. Stops at the first vertex on the segment, the
// first alive constraint edge crossing it, or the target.
int Dt2::walkSegment(Point2* a, Point2* b, Point2*& pVertexOnSegment, Triangle2*& pCrossT, int& crossEdge)
{
	ConstraintWork& w(*pConstraintWork);
	w.vCrossedT.clear();
	w.vCrossedEdges.clear();
	Triangle2* pT(nullptr);
	int e(-1);
	int result(findSegmentStart(a, b, pT, e, pVertexOnSegment));
	if(result != SWR_TARGET) return result;

	// c1 lies right of a->b, c2 left; edge e of pT joins them.
	Point2* c1(pT->getCorner(nextIndex(e)));
	Point2* c2(pT->getCorner(prevIndex(e)));
	w.vCrossedT.push_back(pT);
	for(;;)
	{
		if(bConstraintsExist && pConstraintMgr->isConstraint(c1, c2))
		{
			pCrossT = pT;
			crossEdge = e;
			return SWR_CROSSING;
		}
		w.vCrossedEdges.emplace_back(c1, c2);
		// A straight walk crosses each edge at most once.
		MIREL_ASSERT(w.vCrossedEdges.size()<=3*numAllT);
		Triangle2* pU(pT->getOppositeTriangle(e));
		MIREL_ASSERT(pU!=0);
		int j(pU->getIntraTriangleIndex(pT));
		Point2* d(pU->getCorner(j));
		w.vCrossedT.push_back(pU);
		if(d == b) return SWR_TARGET;
		Orientation2 ori(geomTest.getOrientation2(a, b, d));
		if(ori == ORIENTATION2_COLLINEAR)
		{
			pVertexOnSegment = d;
			return SWR_VERTEX;
		}
		if(ori == ORIENTATION2_CW)
		{
			e = pU->getIntraTriangleIndex(c1); // the new crossed edge d-c2 is opposite the old c1
			c1 = d;
		}
		else
		{
			e = pU->getIntraTriangleIndex(c2);
			c2 = d;
		}
		pT = pU;
	}
}

// ======================================================================
// Constrained insertion
// ======================================================================

bool Dt2::newCDT_applyOneCS(ConstraintSegment2* pInitialCSeg)
{
	MIREL_ASSERT(pInitialCSeg->getCIS()==CIS_CONSTRAINED_DELAUNAY);
	MIREL_ASSERT(pInitialCSeg->isAlive());
	if(pInitialCSeg->getSrc() == pInitialCSeg->getTrg())
	{
		sendWarning("Dt2::newCDT_applyOneCS()", "Degenerate constraint, return");
		return true;
	}
	std::vector<ConstraintSegment2*> vStack{pInitialCSeg};
	while(ConstraintSegment2* pCSeg = ConstraintSegment2::popAlivePiece(vStack))
	{
		if(pCSeg->getSrc() == pCSeg->getTrg())
		{
			sendWarning("Dt2::newCDT_applyOneCS()", "Degenerate constraint (2), return");
			return true;
		}
		bool bOk(newCDT_insertOrSplit(pCSeg, vStack));
		legalizeUnlockedEdges();
		if(!bOk) return false;
	}
	return true;
}

bool Dt2::newCDT_insertOrSplit(ConstraintSegment2* pCSeg, std::vector<ConstraintSegment2*>& vStack)
{
	Point2* pExistingVertex(nullptr);
	Triangle2* pCrossT(nullptr);
	int crossEdge(-1);
	switch(walkSegment(pCSeg->getSrc(), pCSeg->getTrg(), pExistingVertex, pCrossT, crossEdge))
	{
		case SWR_EDGE_EXISTS:
			return true;
		case SWR_VERTEX:
			MIREL_ASSERT(pExistingVertex!=pCSeg->getSrc());
			MIREL_ASSERT(pExistingVertex!=pCSeg->getTrg());
			if(!pConstraintMgr->canSplitAt(pCSeg, pExistingVertex)) return false;
			pCSeg->split_combinatorialOnly(pExistingVertex);
			vStack.insert(vStack.end(), pCSeg->getChildren().begin(), pCSeg->getChildren().end());
			return true;
		case SWR_CROSSING:
			return splitAtCrossing(pCSeg, pCrossT, crossEdge, vStack);
		default:
			insertEdgeByFlips(pCSeg->getSrc(), pCSeg->getTrg());
			return true;
	}
}

// pCSeg crosses the alive constraint on edge crossEdge of pCrossT. Both are
// split at the crossing point, rounded to doubles: at a new vertex there, or
// at the vertex that already stands on the rounded point. The crossing
// segment's halves are established again at once, the new segment's halves
// go onto the stack. False when rounding leaves no consistent split (the
// split trees would turn into cycles): double precision is exhausted.
bool Dt2::splitAtCrossing(ConstraintSegment2* pCSeg, Triangle2* pCrossT, int crossEdge, std::vector<ConstraintSegment2*>& vStack)
{
	Point2* pE0(pCrossT->getCorner(nextIndex(crossEdge)));
	Point2* pE1(pCrossT->getCorner(prevIndex(crossEdge)));
	ConstraintSegment2* pCrossingCSeg(pConstraintMgr->getConstraintSegment(pE0, pE1));
	MIREL_ASSERT(pCrossingCSeg!=0);
	const Point2& a(*pCSeg->getSrc());
	const Point2& b(*pCSeg->getTrg());
	const Point2& c(*pCrossingCSeg->getSrc());
	const Point2& d(*pCrossingCSeg->getTrg());
	double x, y;
	computeCrossing(pCSeg, pCrossingCSeg, x, y);
	// The crossing belongs to both segments: its height is the mean of the
	// heights interpolated along each.
	Point2 splitPoint(x, y, 0.5 * (heightAlong(a, b, x, y) + heightAlong(c, d, x, y)));

	// Rounding can put the point outside the quadrilateral of the two pieces
	// (tiny pieces from nearly coincident vertices); a new vertex there would
	// cross them again one rounding step further, without end. The crossing
	// then goes through the nearest of their four end points instead.
	Point2* pExisting(isInsideCrossingQuad(pCSeg, pCrossingCSeg, splitPoint) ? findVertexAt(splitPoint) : nearestEndpoint(pCSeg, pCrossingCSeg, splitPoint));
	if(pExisting != nullptr)
	{
		// The rounded crossing is a vertex already: each segment that does not
		// end there runs through it.
		bool bSplitNew(pExisting != pCSeg->getSrc() && pExisting != pCSeg->getTrg());
		bool bSplitCrossing(pExisting != pCrossingCSeg->getSrc() && pExisting != pCrossingCSeg->getTrg());
		if(!bSplitNew && !bSplitCrossing) return false; // rounding joined their end points
		if((bSplitNew && !pConstraintMgr->canSplitAt(pCSeg, pExisting)) || (bSplitCrossing && !pConstraintMgr->canSplitAt(pCrossingCSeg, pExisting))) return false;
		if(bSplitCrossing)
		{
			pCrossingCSeg->split_combinatorialOnly(pExisting);
			std::vector<ConstraintSegment2*> vCrossingPieces(pCrossingCSeg->getChildren());
			for(ConstraintSegment2* pPiece : vCrossingPieces)
			{
				if(!pConstraintMgr->apply(pPiece)) return false;
			}
		}
		if(!pCSeg->isAlive())
		{
			vStack.push_back(pCSeg); // split meanwhile: its pieces are walked again
		}
		else if(bSplitNew)
		{
			pCSeg->split_combinatorialOnly(pExisting);
			vStack.insert(vStack.end(), pCSeg->getChildren().begin(), pCSeg->getChildren().end());
		}
		else
		{
			vStack.push_back(pCSeg); // its crossing is resolved now: walk again
		}
		return true;
	}
	MIREL_ASSERT(splitPoint!=*pCrossingCSeg->getSrc() && splitPoint!=*pCrossingCSeg->getTrg());

	killAndUnestablishConstraintSegment(pCrossingCSeg, pCrossT, crossEdge);
	Point2* pSplit(insert(splitPoint));
	MIREL_ASSERT(pSplit!=0);
	pCrossingCSeg->setAliveFlag(true);
	pCrossingCSeg->split_combinatorialOnly(pSplit);
	std::vector<ConstraintSegment2*> vCrossingPieces(pCrossingCSeg->getChildren());
	for(ConstraintSegment2* pPiece : vCrossingPieces)
	{
		if(!pConstraintMgr->apply(pPiece)) return false;
	}
	// Establishing those halves may have made this segment an edge and split
	// it at another crossing; then its pieces are walked again.
	if(pCSeg->isAlive() && pSplit != pCSeg->getSrc() && pSplit != pCSeg->getTrg()) pCSeg->split_combinatorialOnly(pSplit);
	if(pCSeg->isAlive()) vStack.push_back(pCSeg);
	else vStack.insert(vStack.end(), pCSeg->getChildren().begin(), pCSeg->getChildren().end());
	// The unlocked crossing segment did not have to be Delaunay, so the
	// insertion may have left edges around the new vertex that are not.
	bfsFlipIncident(pSplit);
	legalizeUnlockedEdges();
	return true;
}

// q strictly inside the convex quadrilateral a, c, b, d of two crossing pieces.
bool Dt2::isInsideCrossingQuad(ConstraintSegment2* pCSeg, ConstraintSegment2* pCrossingCSeg, const Point2& q)
{
	Point2* pRing[4] = {pCSeg->getSrc(), pCrossingCSeg->getSrc(), pCSeg->getTrg(), pCrossingCSeg->getTrg()};
	Orientation2 oriRing(geomTest.getOrientation2(pRing[0], pRing[1], pRing[2]));
	if(oriRing == ORIENTATION2_COLLINEAR) return false;
	for(int k = 0; k < 4; ++k)
	{
		if(geomTest.getOrientation2(pRing[k], pRing[(k + 1) % 4], &q) != oriRing) return false;
	}
	return true;
}

Point2* Dt2::nearestEndpoint(ConstraintSegment2* pCSeg, ConstraintSegment2* pCrossingCSeg, const Point2& q)
{
	Point2* pBest(nullptr);
	double bestSqDist(0);
	for(Point2* p : {pCSeg->getSrc(), pCSeg->getTrg(), pCrossingCSeg->getSrc(), pCrossingCSeg->getTrg()})
	{
		double sqDist(sqDistance2D(*p, q));
		if(pBest == nullptr || sqDist < bestSqDist)
		{
			pBest = p;
			bestSqDist = sqDist;
		}
	}
	return pBest;
}

// The vertex at the x and y of p, or null.
Point2* Dt2::findVertexAt(const Point2& p)
{
	Triangle2* pT(locate(p));
	if(pT == nullptr) return nullptr;
	for(int i = 0; i < 3; ++i)
	{
		if(*pT->getCorner(i) == p) return pT->getCorner(i);
	}
	return nullptr;
}

// The crossing point of two crossing pieces, rounded to doubles. Computed on
// the input segments they descend from where that point lies inside the
// quadrilateral of the two pieces: pieces bent by earlier rounded crossings
// would otherwise cross again and again, each time one rounding step
// further. Elsewhere the pieces' own lines are used, which the walk has seen
// crossing.
void Dt2::computeCrossing(ConstraintSegment2* pCSeg, ConstraintSegment2* pCrossingCSeg, double& x, double& y)
{
	Point2* a(pCSeg->getSrc());
	Point2* b(pCSeg->getTrg());
	Point2* c(pCrossingCSeg->getSrc());
	Point2* d(pCrossingCSeg->getTrg());
	ConstraintSegment2* pInput0(pConstraintMgr->getInputSegment(pCSeg));
	ConstraintSegment2* pInput1(pConstraintMgr->getInputSegment(pCrossingCSeg));
	if(pInput0 != pCSeg || pInput1 != pCrossingCSeg)
	{
		Point2* r0(pInput0->getSrc());
		Point2* r1(pInput0->getTrg());
		Point2* s0(pInput1->getSrc());
		Point2* s1(pInput1->getTrg());
		Orientation2 o0(geomTest.getOrientation2(r0, r1, s0)), o1(geomTest.getOrientation2(r0, r1, s1));
		Orientation2 o2(geomTest.getOrientation2(s0, s1, r0)), o3(geomTest.getOrientation2(s0, s1, r1));
		bool bInputsCross(o0 != ORIENTATION2_COLLINEAR && o1 != ORIENTATION2_COLLINEAR && o0 != o1 && o2 != ORIENTATION2_COLLINEAR && o3 != ORIENTATION2_COLLINEAR && o2 != o3);
		if(bInputsCross)
		{
			geomTest.getIntersectionCoords_gmp_MT(*r0, *r1, *s0, *s1, x, y);
			Point2 q(x, y, 0);
			bool bInside(isInsideCrossingQuad(pCSeg, pCrossingCSeg, q));
			if(bInside) return;
		}
	}
	geomTest.getIntersectionCoords_gmp_MT(*a, *b, *c, *d, x, y);
}

// Clears the constraint mark of the segment so that the insertion of the
// crossing vertex may flip its edge.
void Dt2::killAndUnestablishConstraintSegment(ConstraintSegment2* pCSeg, Triangle2* pFromT, int fromICI)
{
	pCSeg->setAliveFlag(false);
	MIREL_ASSERT(canBeFlipped(pFromT,fromICI));
}

// Makes a-b an edge by flipping the edges it crosses (Sloan's method): a
// crossed edge whose quadrilateral is strictly convex is flipped; if the new
// diagonal still crosses a-b it goes back into the queue, otherwise it is
// remembered. One convex quadrilateral always exists among the crossed edges,
// so the queue empties. Then the remembered edges are flipped until they are
// Delaunay, which restores the constrained Delaunay property. Unlike a
// retriangulation of the two sides as pseudo-polygons, this stays correct
// when a vertex has all its triangles crossed (a vertex inside one side).
void Dt2::insertEdgeByFlips(Point2* a, Point2* b)
{
	ConstraintWork& w(*pConstraintWork);
	std::vector<std::pair<Point2*, Point2*> >& vQueue(w.vCrossedEdges);
	w.vNewEdges.clear();
	size_t maxSteps(16 * (vQueue.size() + 1) * (vQueue.size() + 1));
	size_t numSteps(0);
	for(size_t head = 0; head < vQueue.size(); ++head)
	{
		MIREL_ASSERT(++numSteps<maxSteps);
		Point2* u(vQueue[head].first);
		Point2* v(vQueue[head].second);
		Triangle2* pT(pConstraintMgr->findTriangleWithDirectedEdge(u, v));
		MIREL_ASSERT(pT!=0);
		int iu(pT->getIntraTriangleIndex(u));
		int edge(prevIndex(iu));
		Point2* p(pT->getCorner(edge));
		Triangle2* pN(pT->getOppositeTriangle(edge));
		MIREL_ASSERT(pN!=0);
		Point2* q(pN->getCorner(pN->getIntraTriangleIndex(pT)));
		Orientation2 oriU(geomTest.getOrientation2(p, q, u));
		Orientation2 oriV(geomTest.getOrientation2(p, q, v));
		if(oriU == ORIENTATION2_COLLINEAR || oriV == ORIENTATION2_COLLINEAR || oriU == oriV)
		{
			vQueue.emplace_back(u, v); // not convex yet: later flips will make it so
			continue;
		}
		MeshSurgery::flip(pT, edge);
		bool bStillCrossing(p != a && p != b && q != a && q != b);
		if(bStillCrossing)
		{
			Orientation2 oriP(geomTest.getOrientation2(a, b, p));
			Orientation2 oriQ(geomTest.getOrientation2(a, b, q));
			bStillCrossing = oriP != ORIENTATION2_COLLINEAR && oriQ != ORIENTATION2_COLLINEAR && oriP != oriQ;
		}
		if(bStillCrossing) vQueue.emplace_back(p, q);
		else w.vNewEdges.emplace_back(p, q);
		// Keep the queue short on long segments.
		if(head > 1024 && 2 * head > vQueue.size())
		{
			vQueue.erase(vQueue.begin(), vQueue.begin() + std::ptrdiff_t(head) + 1);
			head = size_t(-1);
		}
	}
	vQueue.clear();

	// The new edges may fail the in-circle test; flipping them (and what
	// their flips expose) restores the constrained Delaunay property. a-b
	// itself is a constraint edge by now and stays.
	std::vector<std::pair<Triangle2*, int> >& vBfs(w.vBfsQueue);
	vBfs.clear();
	for(const std::pair<Point2*, Point2*>& edge : w.vNewEdges)
	{
		Triangle2* pT(pConstraintMgr->findTriangleWithDirectedEdge(edge.first, edge.second));
		if(pT != nullptr) vBfs.emplace_back(pT, prevIndex(pT->getIntraTriangleIndex(edge.first)));
	}
	flipQueuedEdges();
}

// ======================================================================
// Conforming insertion
// ======================================================================

// Splits the segment at new vertices until every piece is a Delaunay edge.
// Flips never cross constraint edges, so a conforming piece that a later
// vertex made non-Delaunay stays an edge but is split as well.
bool Dt2::insertSegmentConformingDelaunay(ConstraintSegment2* pCSeg)
{
	std::vector<ConstraintSegment2*> vStack{pCSeg};
	return runConformingLoop(vStack);
}

bool Dt2::runConformingLoop(std::vector<ConstraintSegment2*>& vStack)
{
	takeLockedConformingEdges(vStack);
	while(ConstraintSegment2* pPiece = ConstraintSegment2::popAlivePiece(vStack))
	{
		Point2* pExistingVertex(nullptr);
		Triangle2* pCrossT(nullptr);
		int crossEdge(-1);
		int result(walkSegment(pPiece->getSrc(), pPiece->getTrg(), pExistingVertex, pCrossT, crossEdge));
		if(result == SWR_EDGE_EXISTS && isDelaunayEdge(pPiece->getSrc(), pPiece->getTrg())) continue;
		if(result == SWR_VERTEX)
		{
			if(!pConstraintMgr->canSplitAt(pPiece, pExistingVertex)) return false;
			pPiece->split_combinatorialOnly(pExistingVertex);
			vStack.insert(vStack.end(), pPiece->getChildren().begin(), pPiece->getChildren().end());
			continue;
		}
		if(result == SWR_CROSSING)
		{
			if(!splitAtCrossing(pPiece, pCrossT, crossEdge, vStack)) return false;
		}
		else if(!splitAtMidpoint(pPiece, vStack))
		{
			return false;
		}
		legalizeUnlockedEdges();
		takeLockedConformingEdges(vStack);
	}
	return true;
}

// A vertex can make a conforming piece non-Delaunay without ever becoming its
// neighbour (when other constraint edges stop the flips on the way), so after
// a batch all conforming pieces are checked and the bad ones split, until a
// pass finds none.
bool Dt2::restoreConformingDelaunay()
{
	std::vector<ConstraintSegment2*> vAlive, vStack;
	for(;;)
	{
		vAlive.clear();
		vStack.clear();
		pConstraintMgr->getAliveConstraintSegments(vAlive);
		for(ConstraintSegment2* pCSeg : vAlive)
		{
			if(pCSeg->getCIS() != CIS_CONSTRAINED_DELAUNAY && !isDelaunayEdge(pCSeg->getSrc(), pCSeg->getTrg())) vStack.push_back(pCSeg);
		}
		if(vStack.empty()) return true;
		if(!runConformingLoop(vStack)) return false;
	}
}

void Dt2::takeLockedConformingEdges(std::vector<ConstraintSegment2*>& vStack)
{
	std::vector<std::pair<Point2*, Point2*> >& vLocked(pConstraintWork->vLockedConforming);
	for(const std::pair<Point2*, Point2*>& edge : vLocked)
	{
		ConstraintSegment2* pCSeg(pConstraintMgr->getConstraintSegment(edge.first, edge.second));
		if(pCSeg != nullptr) vStack.push_back(pCSeg);
	}
	vLocked.clear();
}

// The edge a-b has no opposite vertex strictly inside the circumcircle of the
// triangle on its other side (a border edge always qualifies).
bool Dt2::isDelaunayEdge(Point2* a, Point2* b)
{
	Triangle2* pT(pConstraintMgr->findTriangleWithDirectedEdge(a, b));
	if(pT == nullptr) return true;
	int i(pT->getIntraTriangleIndex(a));
	int e(prevIndex(i)); // edge a->b is opposite corner i+2
	Triangle2* pU(pT->getOppositeTriangle(e));
	if(pU == nullptr) return true;
	return geomTest.circleInc3state(pT, pU->getCorner(pU->getIntraTriangleIndex(pT))) != CINC2_INCIRCLE;
}

// The midpoint of a piece, with its height by the piece's strategy. False when
// the piece is too short to be split in doubles.
bool Dt2::splitAtMidpoint(ConstraintSegment2* pPiece, std::vector<ConstraintSegment2*>& vStack)
{
	const Point2& a(*pPiece->getSrc());
	const Point2& b(*pPiece->getTrg());
	double maxAbs(std::max(a.getMaxAbs(), b.getMaxAbs()));
	double scaledEps(2.220446049250313e-16 * std::ldexp(1.0, maxAbs > 0 ? int(std::ceil(std::log2(maxAbs))) : -1022));
	if(std::fabs(b.x() - a.x()) < 10 * scaledEps && std::fabs(b.y() - a.y()) < 10 * scaledEps)
	{
		sendWarning("Dt2::insertSegmentConformingDelaunay()", "Double precision arithmetic does not allow to split a segment further, giving up. Incorrect result!");
		return false;
	}
	Point2 splitPoint(a.x() + 0.5 * (b.x() - a.x()), a.y() + 0.5 * (b.y() - a.y()), 0.5 * (a.z() + b.z()));
	if(pPiece->getCIS() == CIS_CONFORMING_SURFACE_HEIGHT) splitPoint.setZ(getSurfaceHeightNearPiece(splitPoint, 0.5 * (a.z() + b.z())));

	// Not a constraint while its split point goes in: it may have to be flipped.
	pPiece->setAliveFlag(false);
	Point2* pSplit(insert(splitPoint));
	pPiece->setAliveFlag(true);
	MIREL_ASSERT(pSplit!=0);
	if(pSplit == pPiece->getSrc() || pSplit == pPiece->getTrg() || !pConstraintMgr->canSplitAt(pPiece, pSplit))
	{
		sendWarning("Dt2::insertSegmentConformingDelaunay()", "Double precision arithmetic does not allow to split a segment further, giving up. Incorrect result!");
		return false;
	}
	pPiece->split_combinatorialOnly(pSplit);
	vStack.insert(vStack.end(), pPiece->getChildren().begin(), pPiece->getChildren().end());
	bfsFlipIncident(pSplit);
	return true;
}

// The height of the surface at p: the exact plane height of the triangle that
// contains it, searched among the triangles the last walk crossed; the
// fallback where p is in none of them.
double Dt2::getSurfaceHeightNearPiece(const Point2& p, double fallback)
{
	for(Triangle2* pT : pConstraintWork->vCrossedT)
	{
		if(!pT->isAlive()) continue;
		bool bInside(true);
		for(int i = 0; i < 3 && bInside; ++i) bInside = geomTest.getOrientation2(pT, i, &p) != ORIENTATION2_CW;
		if(bInside) return getExactHeight(*pT->getCorner(0), *pT->getCorner(1), *pT->getCorner(2), p.x(), p.y());
	}
	return fallback;
}

// ======================================================================
// Restoring the Delaunay property around a vertex
// ======================================================================

// Breadth-first from the triangles around pVtx: every edge that fails the
// exact in-circle test and is not a constraint edge is flipped, and the four
// edges around the flipped one are examined again.
void Dt2::bfsFlipIncident(Point2* pVtx)
{
	Triangle2* pFirst(pVtx->getIncidentTriangle());
	if(pFirst == nullptr) return;
	std::vector<std::pair<Triangle2*, int> >& vQueue(pConstraintWork->vBfsQueue);
	vQueue.clear();
	MeshSurgery::findInFan(pVtx, pFirst, [&vQueue](Triangle2* pT) {
		for(int i = 0; i < 3; ++i) vQueue.emplace_back(pT, i);
		return false;
	});
	flipQueuedEdges();
}

void Dt2::noteSplitConstraint(ConstraintSegment2* pParentCSeg)
{
	pConstraintWork->vUnlockedEdges.emplace_back(pParentCSeg->getSrc(), pParentCSeg->getTrg());
}

void Dt2::legalizeUnlockedEdges()
{
	std::vector<std::pair<Point2*, Point2*> >& vUnlocked(pConstraintWork->vUnlockedEdges);
	while(!vUnlocked.empty())
	{
		std::pair<Point2*, Point2*> edge(vUnlocked.back());
		vUnlocked.pop_back();
		bfsFlipFromEdge(edge.first, edge.second);
	}
}

// An edge that just stopped being a constraint (its segment was split at a
// vertex off its line) may not be Delaunay: flip outward from it.
void Dt2::bfsFlipFromEdge(Point2* a, Point2* b)
{
	Triangle2* pT(pConstraintMgr->findTriangleWithDirectedEdge(a, b));
	if(pT == nullptr) return;
	std::vector<std::pair<Triangle2*, int> >& vQueue(pConstraintWork->vBfsQueue);
	vQueue.clear();
	vQueue.emplace_back(pT, prevIndex(pT->getIntraTriangleIndex(a)));
	flipQueuedEdges();
}

void Dt2::flipQueuedEdges()
{
	std::vector<std::pair<Triangle2*, int> >& vQueue(pConstraintWork->vBfsQueue);
	for(size_t head = 0; head < vQueue.size(); ++head)
	{
		Triangle2* a(vQueue[head].first);
		int i(vQueue[head].second);
		Triangle2* b(a->getOppositeTriangle(i));
		if(b == nullptr) continue;
		Point2* d(b->getCorner(b->getIntraTriangleIndex(a)));
		if(geomTest.circleInc3state(a, d) != CINC2_INCIRCLE) continue;
		if(bConstraintsExist && isFlipLocked(a, i)) continue;
		MeshSurgery::flip(a, i);
		for(int k = 0; k < 3; ++k)
		{
			vQueue.emplace_back(a, k);
			vQueue.emplace_back(b, k);
		}
		if(head > 4096 && head * 2 > vQueue.size())
		{
			// Keep the queue short on long cascades.
			vQueue.erase(vQueue.begin(), vQueue.begin() + std::ptrdiff_t(head) + 1);
			head = size_t(-1);
		}
	}
	vQueue.clear();
}

} // namespace MIREL25D
