// Quality mesh generation in a zone: Delaunay refinement with circumcentres,
// constraint splitting at exactly collinear points, and an encroachment rule
// plus an insertion limit so that every run ends.
#include "ConstraintGraph2.h"
#include "ConstraintSegment2.h"
#include "Dt2.h"
#include "GridMesher.h"
#include "InnerVtxMgr.h"
#include "MeshGenParams.h"
#include "Mirel_2D.h"
#include "RefCand3.h"
#include "Zone2.h"
#include "tools.h"
#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <sstream>
#include <unordered_map>
#include <unordered_set>

namespace MIREL25D {

namespace {
const int MAX_PASSES(50);
// The cavity searched for encroached constraint pieces is cut off here; a
// piece missed beyond it only means that a circumcentre goes in instead.
const size_t MAX_CAVITY(256);
} // namespace

// The state of one refinement run.
struct RefineWork
{
	RefineWork(MeshGenParams* pParams_, ConstraintGraph2* pCG_) : pParams(pParams_), pCG(pCG_) {}
	MeshGenParams* pParams;
	ConstraintGraph2* pCG;
	std::vector<Triangle2*> vZoneT;
	std::vector<Triangle2*> vIncidentT;
	std::vector<Triangle2*> vCavityT;
	size_t numInserted = 0;
	size_t maxInserted = 0;
	// With a height guide: each vertex's height difference to the guide, and
	// the vertices at which a triangle was left for that difference.
	std::unordered_map<Point2*, double> mGuideGap;
	std::unordered_set<Point2*> sJumpVertices;
};

InnerVtxMgr* Dt2::getInnerVtxMgr()
{
	if(pInnerVtxMgr == nullptr) pInnerVtxMgr = new InnerVtxMgr();
	return pInnerVtxMgr;
}

void Dt2::destroyMeshingMachinery()
{
	delete pInnerVtxMgr;
	pInnerVtxMgr = nullptr;
	delete pmmAng2RC;
	pmmAng2RC = nullptr;
	delete pRefineWork;
	pRefineWork = nullptr;
}

// ---------------------------------------------------------------------------
// Driver and validation
// ---------------------------------------------------------------------------

void Dt2::refineMain3(MeshGenParams* pParams)
{
	if(pParams == nullptr)
	{
		sendError("Dt2::refineMain2(..)", "no parameter record (null pointer)");
		return;
	}
	if(pParams->bResetSplitRecord) getInnerVtxMgr()->clear();
	if(!refineMain2(pParams)) return;
	Zone2* pZone(pParams->pZone);

	pRefineWork = new RefineWork(pParams, pZone->getConstraintGraph());
	pRefineWork->maxInserted = computeInsertionLimit(pParams);
	if(pParams->gridLength > 0.0 && (pParams->gridVector.x() != 0.0 || pParams->gridVector.y() != 0.0))
	{
		GridMesher gridMesher(this, pParams);
		pRefineWork->numInserted += gridMesher.run(pRefineWork->maxInserted);
	}
	MIREL_ASSERT(pmmAng2RC==0);
	pmmAng2RC = new RefCandQueue();

	bool bLimitReached(false);
	for(int numPasses = 0;;)
	{
		getInitialRefineCandidates(pZone);
		bool bInserted(false);
		while(!pmmAng2RC->empty())
		{
			RefCandQueue::Entry entry(pmmAng2RC->pop());
			if(bLimitReached || !entry.isAlive()) continue;
			RefCand3 candidate;
			candidate.init(this, entry.pT, entry.key);
			if(!tryRefine(&candidate, pParams)) continue;
			bInserted = true;
			if(++pRefineWork->numInserted >= pRefineWork->maxInserted) bLimitReached = true;
		}
		++numPasses;
		if(!bInserted || numPasses >= MAX_PASSES || bLimitReached) break;
	}
	if(!pRefineWork->sJumpVertices.empty())
	{
		sendWarning("Dt2::refineMain3()", "at " + std::to_string(pRefineWork->sJumpVertices.size()) +
											  " vertices the height guide differs from the vertex height by more than the triangles there are long; "
											  "their edge-length and angle bounds are not met (new points there would only make them longer and steeper)");
	}
	if(bLimitReached)
	{
		sendWarning("Dt2::refineMain3()", "refinement stopped after " + std::to_string(pRefineWork->numInserted) +
											  " inserted points, the limit for this zone; the zone's bounds are not met everywhere");
	}
	delete pmmAng2RC;
	pmmAng2RC = nullptr;
	delete pRefineWork;
	pRefineWork = nullptr;
}

// A vertex whose height differs from the guide's by g: every point the guide
// gives near it lies about g above or below it, so an edge that climbs from
// it by at least the triangle's size, in a triangle smaller than g, only gets
// longer and steeper in 2.5D when the triangle is split.
bool Dt2::isAtHeightJump(Triangle2* pT, double sqLongest2D)
{
	Mirel_2D* pGuide(pRefineWork->pParams->pHeightGuide);
	auto hasLargeGap = [&](Point2* pVtx) {
		std::unordered_map<Point2*, double>::iterator it(pRefineWork->mGuideGap.find(pVtx));
		if(it == pRefineWork->mGuideGap.end())
		{
			double guideHeight(0.0);
			double gap(pGuide->getHeight(pVtx->x(), pVtx->y(), guideHeight, nullptr, 0.0) ? std::fabs(pVtx->z() - guideHeight) : 0.0);
			it = pRefineWork->mGuideGap.insert(std::make_pair(pVtx, gap)).first;
		}
		if(!(it->second > 0.0 && it->second * it->second >= sqLongest2D)) return false;
		pRefineWork->sJumpVertices.insert(pVtx);
		return true;
	};
	for(int i = 0; i < 3; ++i)
	{
		Point2* pA(pT->getCorner(nextIndex(i)));
		Point2* pB(pT->getCorner(prevIndex(i)));
		double dz(pA->z() - pB->z());
		if(dz * dz >= sqLongest2D && (hasLargeGap(pA) || hasLargeGap(pB))) return true;
	}
	return false;
}

bool Dt2::refineMain2(MeshGenParams* pParams)
{
	Zone2* pZone(pParams->pZone);
	if(pZone == nullptr)
	{
		sendError("Dt2::refineMain2(..)", "pZone==NULL");
		return false;
	}
	if(pZone->getZoneLocation() != ZL_INSIDE && pZone->getZoneLocation() != ZL_BOUNDED)
	{
		sendError("Dt2::refineMain2()", "The zoneLocation must be ZL_INSIDE or ZL_BOUNDED. Please convert the zone using pZone->convertToBoundedZone(..)");
		return false;
	}
	if(pParams->minAngleDegree > 30.0)
	{
		sendError("Dt2::refine(..)", "minAngleDegree must be <=30.0, return");
		return false;
	}
	// Bounds that would make refinement meaningless or endless.
	struct NamedBound
	{
		const char* name;
		double value;
		bool bZeroAllowed;
	};
	const NamedBound aBounds[] = {{"minAngleDegree", pParams->minAngleDegree, true}, {"minEdgeLength", pParams->minEdgeLength, true},
		{"maxEdgeLength", pParams->maxEdgeLength, false}, {"maxTriangleArea", pParams->maxTriangleArea, false},
		{"growFactor", pParams->growFactor, true}, {"growFactorMinArea", pParams->growFactorMinArea, true},
		{"gridLength", pParams->gridLength, true}};
	for(const NamedBound& bound : aBounds)
	{
		if(std::isnan(bound.value) || bound.value < 0.0 || (!bound.bZeroAllowed && bound.value == 0.0))
		{
			sendError("Dt2::refineMain2()", std::string(bound.name) + " must be a number " + (bound.bZeroAllowed ? ">=0" : ">0") + ", return");
			return false;
		}
	}
	if(pZone->numberOfConstraintGraphs() != 1)
	{
		sendError("Dt2::refineMain2()", "The zone must be bounded by exactly one constraint graph. Please convert the zone using pZone->convertToBoundedZone(..)");
		return false;
	}
	if(pParams->pHeightGuide == nullptr && !hasArea())
	{
		sendError("Dt2::refineMain2()", "The triangulation has no area yet");
		return false;
	}
	return true;
}

// The most points one run may insert: the zone's area divided by the area of
// the smallest triangle the bounds let refinement make, with a wide margin.
// Only an input that refinement cannot satisfy reaches it.
size_t Dt2::computeInsertionLimit(MeshGenParams* pParams)
{
	Zone2* pZone(pParams->pZone);
	double area(pZone->getArea2D());
	double minLen(pParams->minEdgeLength);
	if(pParams->maxEdgeLength < std::numeric_limits<double>::max()) minLen = std::min(minLen, 0.5 * pParams->maxEdgeLength);
	if(pParams->maxTriangleArea < std::numeric_limits<double>::max()) minLen = std::min(minLen, 0.5 * std::sqrt(pParams->maxTriangleArea));
	minLen = std::max(minLen, std::sqrt(area) * 1e-7);
	double limit(16.0 * area / (minLen * minLen) + 16.0 * double(pZone->getNumberOfTriangles()) + 10000.0);
	if(!(limit < 1e12)) limit = 1e12;
	return static_cast<size_t>(limit);
}

// ---------------------------------------------------------------------------
// Candidates
// ---------------------------------------------------------------------------

void Dt2::getInitialRefineCandidates(Zone2* pZone)
{
	MIREL_ASSERT(pmmAng2RC!=0);
	std::vector<Triangle2*>& vZoneT(pRefineWork->vZoneT);
	vZoneT.clear();
	pZone->getTriangles(vZoneT);
	for(Triangle2* pT : vZoneT) addRefCand(pT);
}

void Dt2::addRefCand(Triangle2* pT)
{
	double key(getMinAngle25D(pT));
	RefCand3 candidate;
	candidate.init(this, pT, key);
	if(candidate.hasReason(pRefineWork->pParams)) pmmAng2RC->push(key, pT);
}

void Dt2::addRefCandsAround(Point2* pVtx)
{
	std::vector<Triangle2*>& vIncidentT(pRefineWork->vIncidentT);
	vIncidentT.clear();
	getIncidentTriangles(pVtx, vIncidentT);
	for(Triangle2* pT : vIncidentT) addRefCand(pT);
}

void Dt2::addRefCandsInsideZone(Point2* pSrc, Point2* pTrg, Point2* pSplit)
{
	MIREL_ASSERT(pSrc!=pTrg && pSrc!=pSplit && pTrg!=pSplit);
	// Counterclockwise around pSplit from the edge to pTrg: the zone lies left
	// of pSrc->pTrg, so the turn ends at the edge to pSrc.
	Triangle2* pT(getAdjacentTriangle(pSplit, pTrg));
	for(size_t numVisited = 0; pT != nullptr && numVisited < (size_t(1) << 20); ++numVisited)
	{
		addRefCand(pT);
		int k(pT->getIntraTriangleIndex(pSplit));
		if(pT->getCorner(prevIndex(k)) == pSrc) return;
		pT = pT->getOppositeTriangle(nextIndex(k));
	}
}

// ---------------------------------------------------------------------------
// Refinement of one candidate
// ---------------------------------------------------------------------------

bool Dt2::tryRefine(RefCand3* pRC, MeshGenParams* pParams)
{
	MIREL_ASSERT(pRC->isAlive());
	MIREL_ASSERT(pmmAng2RC!=0);
	if(!pRC->needRefinement(pParams, &geomTest)) return false;
	ConstraintGraph2* pCG(pRefineWork->pCG);
	MIREL_ASSERT(pCG!=0);
	int walkResult(pRC->getWalkResult());
	if(walkResult == RefCand3::WALK_FAILED) return false;
	if(walkResult != RefCand3::WALK_INSIDE) return splitForRefinement(pRC, pRC->getReachedTriangle(), walkResult, pParams);

	// A circumcentre inside the diametral circle of a splittable constraint
	// piece would make ever thinner triangles beside it: split the piece.
	const Point2& cc(pRC->getCircumcenter());
	Triangle2* pPieceT(nullptr);
	int pieceIdx(-1);
	switch(findEncroachedPiece(cc, pRC->getReachedTriangle(), pParams, pPieceT, pieceIdx))
	{
		case ENCROACH_SPLIT: return splitForRefinement(pRC, pPieceT, pieceIdx, pParams);
		case ENCROACH_BLOCKED: return false;
		default: break;
	}

	double height(0.0);
	if(!getRefinementHeight(cc.x(), cc.y(), pRC->getReachedTriangle(), pParams, height))
	{
		sendError("Dt2::refineMain2()", "No height value available");
		height = 0.0;
	}
	Point2* pNewVtx(newVertex());
	pNewVtx->set(cc.x(), cc.y(), height, -1);
	if(!insertVertexForRefinement(pNewVtx, pRC->getReachedTriangle())) return false;
	getInnerVtxMgr()->addFreeVertex(pNewVtx);
	return true;
}

bool Dt2::getRefinementHeight(double x, double y, Triangle2* pContainingT, MeshGenParams* pParams, double& height)
{
	if(pParams->pHeightGuide != nullptr) return pParams->pHeightGuide->getHeight(x, y, height, nullptr, 0.0);
	return getHeight(x, y, height, pContainingT, 0.0);
}

// Looks at the constraint edges around the cavity that a point at cc would
// open (the triangles whose circumcircle holds cc, reached without crossing a
// constraint edge).
int Dt2::findEncroachedPiece(const Point2& cc, Triangle2* pStartT, MeshGenParams* pParams, Triangle2*& pPieceT, int& pieceIdx)
{
	std::vector<Triangle2*>& vCavityT(pRefineWork->vCavityT);
	vCavityT.clear();
	vCavityT.push_back(pStartT);
	for(size_t next = 0; next < vCavityT.size(); ++next)
	{
		Triangle2* pT(vCavityT[next]);
		for(int i = 0; i < 3; ++i)
		{
			if(isConstraint(pT, i))
			{
				const Point2& a(*pT->getCorner(nextIndex(i)));
				const Point2& b(*pT->getCorner(prevIndex(i)));
				// cc on the edge itself: an insertion there would split the piece.
				bool bOnEdge(pT == pStartT && geomTest.getOrientation2(pT, i, &cc) == ORIENTATION2_COLLINEAR);
				// The dot product only chooses where the next point goes; the
				// mesh is valid either way, so its rounding does no harm.
				double dot((a.x() - cc.x()) * (b.x() - cc.x()) + (a.y() - cc.y()) * (b.y() - cc.y()));
				if(!bOnEdge && !(dot < 0.0)) continue;
				if(isSplittable(pT, i, pParams))
				{
					pPieceT = pT;
					pieceIdx = i;
					return ENCROACH_SPLIT;
				}
				if(bOnEdge) return ENCROACH_BLOCKED;
				continue;
			}
			Triangle2* pNeigh(pT->getOppositeTriangle(i));
			if(pNeigh == nullptr || vCavityT.size() >= MAX_CAVITY) continue;
			if(std::find(vCavityT.begin(), vCavityT.end(), pNeigh) != vCavityT.end()) continue;
			// Undecided counts as inside: a larger search only checks more pieces.
			if(geomTest.circleInc3stateFiltered(pNeigh, &cc) != CINC2_OUTCIRCLE) vCavityT.push_back(pNeigh);
		}
	}
	return ENCROACH_NONE;
}

bool Dt2::isSplittable(Triangle2* pT, int i, MeshGenParams* pParams)
{
	if(!pParams->bAllowConstraintSplitting) return false;
	Point2* p1(pT->getCorner(nextIndex(i)));
	Point2* p2(pT->getCorner(prevIndex(i)));
	ConstraintSegment2* pCSeg(getConstraintSegment(p1, p2));
	if(pCSeg == nullptr || pParams->isLocked(pCSeg)) return false;
	double minLen2(2.0 * pParams->minEdgeLength);
	return !(minLen2 * minLen2 > sqDistance2D(*p1, *p2));
}

// The candidate's triangle may survive a split elsewhere: then it is queued
// again, so that it is looked at once more in this pass.
bool Dt2::splitForRefinement(RefCand3* pRC, Triangle2* pT, int i, MeshGenParams* pParams)
{
	if(!splitConstraintEdge(pT, i, pParams)) return false;
	if(pRC->isAlive()) addRefCand(pRC->getTriangle());
	return true;
}

bool Dt2::splitConstraintEdge(Triangle2* pT, int i, MeshGenParams* /*pParams*/)
{
	Point2* p1(pT->getCorner(nextIndex(i)));
	Point2* p2(pT->getCorner(prevIndex(i)));
	ConstraintSegment2* pCSeg(getConstraintSegment(p1, p2));
	if(pCSeg == nullptr) return false;
	MIREL_ASSERT((pCSeg->getSrc()==p1 && pCSeg->getTrg()==p2) || (pCSeg->getSrc()==p2 && pCSeg->getTrg()==p1));

	Point2 splitPoint(0.5 * (p1->x() + p2->x()), 0.5 * (p1->y() + p2->y()), 0.5 * (p1->z() + p2->z()));
	if(splitPoint == *p1 || splitPoint == *p2)
	{
		sendWarning("Dt2::tryRefine()", "Double precision arithmetic does not allow to split a segment further, giving up");
		for(int k = 0; k < 3; ++k) {
			std::ostringstream rawText;
			rawText << "EdgeLen2D(" << k << "): " << std::sqrt(pT->getSquaredEdgeLength2D(k)) << "\n";
			sendRawText(rawText.str());
		}
		return false;
	}
	const Point2 midpoint(splitPoint);
	if(!findCollinearSplitPoint(*p1, *p2, midpoint, splitPoint) && !findEdgeNeighbourhoodPoint(pT, i, splitPoint))
	{
		sendWarning("Dt2::tryRefine()", "no appropriate splitPoint in double precision arithmetic for a triangle");
		return false;
	}

	ConstraintGraph2* pCG(pRefineWork->pCG);
	bool bZoneGraph(pCG->isConstraint(pCSeg));
	Point2* pSrc(pCSeg->getSrc());
	Point2* pTrg(pCSeg->getTrg());
	if(bZoneGraph && pCG->isReverse(pCSeg)) std::swap(pSrc, pTrg);
	Point2* pInsertedVertex(pCSeg->insertAndSplit(splitPoint));
	MIREL_ASSERT(pInsertedVertex!=0);
	getInnerVtxMgr()->addInsertedVertex(pInsertedVertex, sqDistance2D(*p1, *pInsertedVertex));
	// Only the zone's side of its own border; both sides of a constraint inside it.
	if(bZoneGraph) addRefCandsInsideZone(pSrc, pTrg, pInsertedVertex);
	else addRefCandsAround(pInsertedVertex);
	return true;
}

namespace {
long long gcdOf(long long a, long long b)
{
	a = a < 0 ? -a : a;
	b = b < 0 ? -b : b;
	while(b != 0)
	{
		long long t(a % b);
		a = b;
		b = t;
	}
	return a;
}

// The spacing of the doubles around v (a power of two).
double spacingAt(double v)
{
	return std::nextafter(std::fabs(v), HUGE_VAL) - std::fabs(v);
}
} // namespace

// A double point on the piece p1-p2, exactly collinear, close to target
// (which lies on or next to the piece). Often target itself is one;
// otherwise its ulp neighbourhood is tried, then the doubles exactly on the
// line: on a grid of spacing (ux, uy) the segment holds gcd(DX, DY) - 1 such
// points between its ends, DX and DY being its extent in grid steps.
bool Dt2::findCollinearSplitPoint(const Point2& p1, const Point2& p2, const Point2& target, Point2& splitPoint)
{
	const int aSteps[] = {0, -1, 1};
	double minX(std::min(p1.x(), p2.x())), maxX(std::max(p1.x(), p2.x()));
	double minY(std::min(p1.y(), p2.y())), maxY(std::max(p1.y(), p2.y()));
	auto isOnPiece = [&](double x, double y) {
		if(x < minX || x > maxX || y < minY || y > maxY) return false;
		Point2 q(x, y, target.z());
		if(q == p1 || q == p2) return false;
		return geomTest.getOrientation2(&p1, &p2, &q) == ORIENTATION2_COLLINEAR;
	};
	for(int sx : aSteps)
	{
		double x(sx == 0 ? target.x() : std::nextafter(target.x(), sx < 0 ? -HUGE_VAL : HUGE_VAL));
		for(int sy : aSteps)
		{
			double y(sy == 0 ? target.y() : std::nextafter(target.y(), sy < 0 ? -HUGE_VAL : HUGE_VAL));
			if(!isOnPiece(x, y)) continue;
			splitPoint = Point2(x, y, target.z());
			return true;
		}
	}
	// The finest spacing of the two ends: both are multiples of it.
	double ux(std::min(spacingAt(p1.x()), spacingAt(p2.x())));
	double uy(std::min(spacingAt(p1.y()), spacingAt(p2.y())));
	double ix1(p1.x() / ux), ix2(p2.x() / ux), iy1(p1.y() / uy), iy2(p2.y() / uy);
	const double LIMIT(4.0e18);
	if(!(std::fabs(ix1) < LIMIT && std::fabs(ix2) < LIMIT && std::fabs(iy1) < LIMIT && std::fabs(iy2) < LIMIT)) return false;
	long long dX(static_cast<long long>(ix2) - static_cast<long long>(ix1));
	long long dY(static_cast<long long>(iy2) - static_cast<long long>(iy1));
	long long g(gcdOf(dX, dY));
	if(g < 2) return false;
	long long stepX(dX / g), stepY(dY / g);
	double sqLen(sqDistance2D(p1, p2));
	double ratio(std::sqrt(sqDistance2D(p1, target) / sqLen));
	long long kCentre(std::max(0LL, std::min(g, std::llround(ratio * double(g)))));
	// The lattice points nearest to the target first.
	for(long long d = 0; d < 8; ++d)
	{
		for(int sign = 0; sign < 2; ++sign)
		{
			long long k(kCentre + (sign == 0 ? d : -d - 1));
			if(k <= 0 || k >= g) continue;
			double x((ix1 + double(k * stepX)) * ux);
			double y((iy1 + double(k * stepY)) * uy);
			if(!isOnPiece(x, y)) continue;
			double t(sqDistance2D(p1, Point2(x, y, 0.0)) / sqLen);
			splitPoint = Point2(x, y, p1.z() + std::sqrt(t) * (p2.z() - p1.z()));
			return true;
		}
	}
	return false;
}

// Where no double lies exactly on the piece, a point next to it (the rounded
// target or one of its ulp neighbours) is used if it lies strictly inside the
// two triangles beside the edge, so that the bent pieces cannot reach past
// the edge's neighbourhood. On the hull the bend must go outwards or nowhere:
// an inward bend would leave a sliver between the pieces and the old hull
// edge that no flip removes and no later split can enter.
bool Dt2::findEdgeNeighbourhoodPoint(Triangle2* pT, int i, Point2& q)
{
	Triangle2* pOpp(pT->getOppositeTriangle(i));
	Point2* a(pT->getCorner(i));
	Point2* b(pT->getCorner(nextIndex(i)));
	Point2* d(pT->getCorner(prevIndex(i)));
	Point2* c(pOpp == nullptr ? nullptr : pOpp->getCorner(pOpp->getIntraTriangleIndex(pT)));
	auto isStrictlyLeft = [&](Point2* from, Point2* to, const Point2& r) { return geomTest.getOrientation2(from, to, &r) == ORIENTATION2_CCW; };
	auto isInside = [&](const Point2& r) {
		if(!isStrictlyLeft(a, b, r) || !isStrictlyLeft(d, a, r)) return false;
		if(pOpp == nullptr) return !isStrictlyLeft(b, d, r);
		// The quad a, b, c, d is counterclockwise; r must be strictly left of each side.
		return isStrictlyLeft(b, c, r) && isStrictlyLeft(c, d, r);
	};
	const int aSteps[] = {0, -1, 1};
	for(int sx : aSteps)
	{
		double x(sx == 0 ? q.x() : std::nextafter(q.x(), sx < 0 ? -HUGE_VAL : HUGE_VAL));
		for(int sy : aSteps)
		{
			Point2 r(x, sy == 0 ? q.y() : std::nextafter(q.y(), sy < 0 ? -HUGE_VAL : HUGE_VAL), q.z());
			if(!isInside(r)) continue;
			q = r;
			return true;
		}
	}
	return false;
}

bool Dt2::insertVertexForRefinement(Point2* pNewVtx, Triangle2* pContainingTriangle)
{
	MIREL_ASSERT(pContainingTriangle!=0);
	uint32_t key(hilbertGrid.getKey(pNewVtx->x(), pNewVtx->y()));
	vertexVault.addOne(pNewVtx, key);
	insertVertex(pNewVtx, pContainingTriangle);
	if(!vertexVault.dupIsClean())
	{
		// The rounded circumcentre fell onto an existing vertex.
		vertexVault.treatOneDupGetHandle(pNewVtx);
		return false;
	}
	// Every triangle the insertion made has the new vertex as a corner.
	addRefCandsAround(pNewVtx);
	return true;
}

} // namespace MIREL25D

