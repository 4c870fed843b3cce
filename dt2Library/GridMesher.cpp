#include "GridMesher.h"
#include "ConstraintGraph2.h"
#include "ConstraintSegment2.h"
#include "Dt2.h"
#include "InnerVtxMgr.h"
#include "MeshGenParams.h"
#include "SegmentChecker.h"
#include "Triangle2.h"
#include "Zone2.h"
#include "tools.h"
#include <algorithm>
#include <cmath>
#include <limits>
#include <unordered_set>

namespace MIREL25D {

namespace {
// A crossing closer than this to an end of the piece it would split is left
// out: it would make a piece much shorter than the grid's triangles.
const double MIN_PIECE_FACTOR(0.7);
// Grid points keep this much room (in grid lengths) from every vertex and
// constraint edge, so that no sliver forms beside a constraint for refinement
// to chase; refinement fills such places from the border instead.
const double CLEARANCE_FACTOR(0.4);
// A snapped split point may move this far (in grid lengths) from its crossing.
const double SNAP_FACTOR(0.05);
// Clearance searches in dense parts of the mesh give up here: such a place
// needs no grid point.
const size_t MAX_CLEARANCE_TRIANGLES(64);
} // namespace

GridMesher::GridMesher(Dt2* pDt_, MeshGenParams* pParams_)
	: pDt(pDt_), pParams(pParams_), pZone(pParams_->pZone), gridLength(pParams_->gridLength), originX(0.0), originY(0.0), dirX(0.0), dirY(0.0),
	  orthX(0.0), orthY(0.0), minAlong(std::numeric_limits<double>::max()), maxAlong(std::numeric_limits<double>::lowest()),
	  minAcross(std::numeric_limits<double>::max()), maxAcross(std::numeric_limits<double>::lowest()), firstAcross(0.0), numLines(-1), bHeightMissing(false)
{
}

size_t GridMesher::run(size_t maxPoints)
{
	// An infinite grid length is a single cell: no grid.
	if(!std::isfinite(gridLength)) return 0;
	std::vector<ConstraintSegment2*> vCSegs;
	pZone->getConstraintGraph()->getChildConstraintSegments(vCSegs);
	if(vCSegs.empty()) return 0;
	if(!computeFrame(vCSegs))
	{
		// The stripes need a direction across the lines.
		sendError("GridMesher::createStripes()", "orthLen is invalid");
		return 0;
	}
	// The zone's box bounds the number of grid points; a grid beyond the
	// run's insertion limit is not started at all.
	double numAlong((maxAlong - minAlong) / gridLength + 1.0);
	if(!(double(numLines) * numAlong <= double(maxPoints)))
	{
		sendWarning("GridMesher::run()", "gridLength is too small for this zone (the grid would exceed the insertion limit), no grid");
		return 0;
	}
	size_t numInserted(chopConstraints(vCSegs));
	std::vector<Point2> vGridPoints;
	createStripes(vGridPoints);
	if(bHeightMissing) sendError("Dt2::refineMain2()", "No height value available");
	std::vector<Point2*> vHandles;
	pDt->insertVector(vGridPoints, vHandles);
	InnerVtxMgr* pInnerVtxMgr(pDt->getInnerVtxMgr());
	for(Point2* pVtx : vHandles) pInnerVtxMgr->addFreeVertex(pVtx);
	return numInserted + vHandles.size();
}

// The direction is scaled before it is normalised, so that any finite
// non-zero gridVector works, however small or large.
bool GridMesher::computeFrame(const std::vector<ConstraintSegment2*>& vCSegs)
{
	double gx(pParams->gridVector.x()), gy(pParams->gridVector.y());
	double scale(std::max(std::fabs(gx), std::fabs(gy)));
	gx /= scale;
	gy /= scale;
	double len(std::sqrt(gx * gx + gy * gy));
	dirX = gx / len;
	dirY = gy / len;
	orthX = -dirY;
	orthY = dirX;
	double orthLen(std::sqrt(orthX * orthX + orthY * orthY));
	if(!(std::fabs(orthLen - 1.0) < 1e-6)) return false;
	originX = vCSegs[0]->getSrc()->x();
	originY = vCSegs[0]->getSrc()->y();
	for(ConstraintSegment2* pCSeg : vCSegs)
	{
		for(const Point2* p : {pCSeg->getSrc(), pCSeg->getTrg()})
		{
			double along(alongOf(*p));
			double across((p->x() - originX) * orthX + (p->y() - originY) * orthY);
			minAlong = std::min(minAlong, along);
			maxAlong = std::max(maxAlong, along);
			minAcross = std::min(minAcross, across);
			maxAcross = std::max(maxAcross, across);
		}
	}
	// The lines sit centred in the box, gridLength apart.
	double span(maxAcross - minAcross);
	double numGaps(std::floor(span / gridLength));
	if(!(numGaps < 1e9)) numGaps = 1e9; // beyond any limit: refused by the caller
	firstAcross = minAcross + 0.5 * (span - numGaps * gridLength);
	numLines = static_cast<int>(numGaps) + 1;
	return true;
}

Point2 GridMesher::toWorld(double along, double across) const
{
	return Point2(originX + along * dirX + across * orthX, originY + along * dirY + across * orthY, 0.0);
}

double GridMesher::alongOf(const Point2& p) const
{
	return (p.x() - originX) * dirX + (p.y() - originY) * dirY;
}

// The crossings of every constraint piece of the zone with the grid lines
// (proper crossings only), found by one SegmentChecker over both sets.
size_t GridMesher::chopConstraints(const std::vector<ConstraintSegment2*>& vCSegs)
{
	std::vector<Segment2> vSegments;
	for(ConstraintSegment2* pCSeg : vCSegs)
	{
		MIREL_ASSERT(pCSeg->isAlive());
		vSegments.push_back(Segment2(*pCSeg->getSrc(), *pCSeg->getTrg()));
	}
	const size_t numCSegs(vSegments.size());
	for(int k = 0; k < numLines; ++k)
	{
		double across(firstAcross + k * gridLength);
		vSegments.push_back(Segment2(toWorld(minAlong - gridLength, across), toWorld(maxAlong + gridLength, across)));
	}
	vLineCrossings.assign(size_t(numLines), std::vector<double>());
	std::vector<Segment2*> vPointers;
	for(Segment2& seg : vSegments) vPointers.push_back(&seg);
	SegmentChecker checker(vPointers);

	size_t numSplits(0);
	std::vector<std::pair<Segment2*, SegmentIntersectionType>> vIntersectors;
	std::vector<Crossing> vCrossings;
	for(size_t i = 0; i < numCSegs; ++i)
	{
		vIntersectors.clear();
		vCrossings.clear();
		checker.getIntersectors(vPointers[i], false, vIntersectors);
		for(const std::pair<Segment2*, SegmentIntersectionType>& hit : vIntersectors)
		{
			size_t idx(size_t(hit.first - &vSegments[0]));
			if(hit.second != SIT_POINT || idx < numCSegs) continue;
			Point2 onPiece, onLine;
			if(!checker.getIntersectionPoint(SIT_POINT, vSegments[i], *hit.first, onPiece, onLine)) continue;
			vLineCrossings[idx - numCSegs].push_back(alongOf(onPiece));
			vCrossings.push_back(Crossing{alongOf(onPiece), onPiece});
		}
		if(!vCrossings.empty()) numSplits += chopSegment(vCSegs[i], vCrossings);
	}
	return numSplits;
}

// Splits one piece at its crossings in order from its source; each split
// leaves pieces of at least MIN_PIECE_FACTOR grid lengths (2.5D) behind.
size_t GridMesher::chopSegment(ConstraintSegment2* pCSeg, std::vector<Crossing>& vCrossings)
{
	Point2* pFrom(pCSeg->getSrc());
	Point2* pTo(pCSeg->getTrg());
	std::sort(vCrossings.begin(), vCrossings.end(),
		[pFrom](const Crossing& a, const Crossing& b) { return sqDistance2D(*pFrom, a.point) < sqDistance2D(*pFrom, b.point); });
	const double minSqLen((MIN_PIECE_FACTOR * gridLength) * (MIN_PIECE_FACTOR * gridLength));
	// sqDistance25D reports a NaN distance itself; such a point is not used.
	auto isFarFromEnds = [&](Point2* pLast, const Point2& q) { return sqDistance25D(*pLast, q) >= minSqLen && sqDistance25D(*pTo, q) >= minSqLen; };
	ConstraintSegment2* pPiece(pCSeg);
	Point2* pLast(pFrom);
	size_t numSplits(0);
	for(const Crossing& crossing : vCrossings)
	{
		Point2 splitPoint;
		if(!isFarFromEnds(pLast, crossing.point) || !findSplitPoint(pLast, pTo, crossing.point, splitPoint) || !isFarFromEnds(pLast, splitPoint))
			continue;
		Point2* pSplit(pPiece->insertAndSplit(splitPoint));
		if(pSplit == nullptr) continue;
		const std::vector<ConstraintSegment2*>& vKids(pPiece->getChildren());
		MIREL_ASSERT(vKids.size()==2);
		pDt->getInnerVtxMgr()->addInsertedVertex(pSplit, sqDistance2D(*pLast, *pSplit));
		++numSplits;
		pPiece = pDt->getConstraintSegment(pSplit, pTo);
		pLast = pSplit;
		if(pPiece == nullptr || !pPiece->isAlive()) break;
	}
	return numSplits;
}

// A point on the piece pA-pB near the crossing q: exactly on it where a
// double lies there, else q or an ulp neighbour where it stays inside the two
// triangles beside the edge (the piece then bends by about an ulp), as
// refinement does with its midpoints.
bool GridMesher::findSplitPoint(Point2* pA, Point2* pB, const Point2& q, Point2& splitPoint)
{
	Triangle2* pT(pDt->getAdjacentTriangle(pA, pB));
	Point2* pFirst(pA);
	if(pT == nullptr)
	{
		pT = pDt->getAdjacentTriangle(pB, pA);
		pFirst = pB;
	}
	if(pT == nullptr) return false;
	int i(prevIndex(pT->getIntraTriangleIndex(pFirst)));
	const double maxSnap(SNAP_FACTOR * gridLength);
	if(pDt->findCollinearSplitPoint(*pA, *pB, q, splitPoint) && sqDistance2D(splitPoint, q) <= maxSnap * maxSnap) return true;
	splitPoint = q;
	return pDt->findEdgeNeighbourhoodPoint(pT, i, splitPoint);
}

// Each line's constraint points cut it into stretches; a stretch is divided
// evenly at a spacing close to gridLength, and its inner division points
// that fall into the zone with room around them become grid points.
void GridMesher::createStripes(std::vector<Point2>& vGridPoints)
{
	std::vector<Triangle2*> vZoneT;
	pZone->getTriangles(vZoneT);
	sZoneT.insert(vZoneT.begin(), vZoneT.end());
	for(int k = 0; k < numLines; ++k)
	{
		std::vector<double>& vConstraintPoints(vLineCrossings[size_t(k)]);
		if(vConstraintPoints.empty()) continue;
		placeStripePoints(firstAcross + k * gridLength, k % 2 == 1, vConstraintPoints, vGridPoints);
	}
}

// Every other line is shifted by half a spacing, so that neighbouring lines
// form triangles of sides gridLength and about 1.12 x gridLength (angles of
// 53 to 63 degrees) instead of right-angled ones with long diagonals.
void GridMesher::placeStripePoints(double across, bool bShifted, std::vector<double>& vConstraintPoints, std::vector<Point2>& vGridPoints)
{
	MIREL_ASSERT(!vConstraintPoints.empty());
	std::sort(vConstraintPoints.begin(), vConstraintPoints.end());
	vConstraintPoints.erase(std::unique(vConstraintPoints.begin(), vConstraintPoints.end()), vConstraintPoints.end());
	for(size_t s = 0; s + 1 < vConstraintPoints.size(); ++s)
	{
		double start(vConstraintPoints[s]), len(vConstraintPoints[s + 1] - start);
		double numSteps(std::round(len / gridLength));
		if(numSteps < 1.0) continue;
		double usedTargetLength(len / numSteps);
		MIREL_ASSERT(usedTargetLength>0);
		// Unshifted: the inner division points; shifted: the middles of the divisions.
		double firstOffset(bShifted ? 0.5 * usedTargetLength : usedTargetLength);
		double numPoints(bShifted ? numSteps : numSteps - 1.0);
		for(double j = 0.0; j < numPoints; j += 1.0)
		{
			Point2 q(toWorld(start + firstOffset + j * usedTargetLength, across));
			// Inside the zone: the containing triangle is one of the zone's.
			Triangle2* pT(pDt->locate(q));
			if(pT == nullptr || sZoneT.count(pT) == 0 || !hasClearance(q, pT)) continue;
			double height(0.0);
			if(!pDt->getRefinementHeight(q.x(), q.y(), pT, pParams, height)) bHeightMissing = true;
			vGridPoints.push_back(Point2(q.x(), q.y(), height));
		}
		double stopStripeSpace(len - (numPoints > 0.0 ? firstOffset + (numPoints - 1.0) * usedTargetLength : 0.0));
		MIREL_ASSERT(stopStripeSpace>0.49*usedTargetLength);
		MIREL_ASSERT(stopStripeSpace<1.01*usedTargetLength);
	}
}

// No vertex and no constraint edge within CLEARANCE_FACTOR grid lengths of q:
// the triangles that meet that disk, reached across their edges from pT.
bool GridMesher::hasClearance(const Point2& q, Triangle2* pT)
{
	const double sqRoom((CLEARANCE_FACTOR * gridLength) * (CLEARANCE_FACTOR * gridLength));
	vSearchT.clear();
	vSearchT.push_back(pT);
	for(size_t next = 0; next < vSearchT.size(); ++next)
	{
		if(vSearchT.size() > MAX_CLEARANCE_TRIANGLES) return false;
		Triangle2* pCur(vSearchT[next]);
		for(int i = 0; i < 3; ++i)
		{
			if(sqDistance2D(q, *pCur->getCorner(i)) < sqRoom) return false;
			if(!(sqDistanceToSegment2D(q, *pCur->getCorner(nextIndex(i)), *pCur->getCorner(prevIndex(i))) < sqRoom)) continue;
			if(pDt->isConstraint(pCur, i)) return false;
			Triangle2* pNeigh(pCur->getOppositeTriangle(i));
			if(pNeigh != nullptr && std::find(vSearchT.begin(), vSearchT.end(), pNeigh) == vSearchT.end()) vSearchT.push_back(pNeigh);
		}
	}
	return true;
}

} // namespace MIREL25D
