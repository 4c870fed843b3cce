#include "CutAndFillImpl.h"
#include "Color.h"
#include "ConstraintGraph2.h"
#include "ConstraintSegment2.h"
#include "Dt2.h"
#include "MirelException.h"
#include "ProgressReporter.h"
#include "Triangle2.h"
#include "Visualizer2.h"
#include "Zone2.h"
#include "tools.h"
#include <algorithm>
#include <cmath>
#include <exception>
#include <sstream>

namespace MIREL25D {

namespace {

const char* const GO_PLACE("CutAndFillImpl::go()");

// Whether some corner difference (before minus after, held in z) is above and some below zero.
void getCornerSigns(const Triangle2* pT, bool& bPos, bool& bNeg)
{
	bPos = bNeg = false;
	for(int i = 0; i < 3; ++i)
	{
		double d(pT->getCorner(i)->z());
		bPos = bPos || d > 0.0;
		bNeg = bNeg || d < 0.0;
	}
}

bool hasPositiveAndNegativeCorner(const Triangle2* pT)
{
	bool bPos, bNeg;
	getCornerSigns(pT, bPos, bNeg);
	return bPos && bNeg;
}

// The type of a triangle from the signs of its corner differences (before
// minus after): the zero-line cuts leave no triangle with both signs.
CAFTYP getTriangleType(const Triangle2* pT)
{
	bool bPos, bNeg;
	getCornerSigns(pT, bPos, bNeg);
	if(bPos && bNeg)
	{
		std::ostringstream oss;
		oss << "TT_INVALID for " << *pT;
		sendError("CutAndFillImpl::getTriangleType()", oss.str());
		MIREL_ASSERT(!(bPos && bNeg));
	}
	if(bPos) return CT_CUT;
	if(bNeg) return CT_FILL;
	return CT_NULL;
}

// The height at the place of pVtx along the straight edge p0 -> p1 with end
// heights h0 and h1 (pVtx lies on it up to the rounding of a crossing).
double interpolateAlong(const Point2* p0, const Point2* p1, double h0, double h1, const Point2* pVtx)
{
	double dx(p1->x() - p0->x()), dy(p1->y() - p0->y());
	double sqLen(dx * dx + dy * dy);
	if(!(sqLen > 0.0)) return h0;
	double t(((pVtx->x() - p0->x()) * dx + (pVtx->y() - p0->y()) * dy) / sqLen);
	t = std::min(1.0, std::max(0.0, t));
	return h0 + t * (h1 - h0);
}

void collectCorners(const std::vector<Triangle2*>& vTriangles, std::vector<Point2*>& vCorners)
{
	vCorners.reserve(vTriangles.size() / 2 + 3);
	for(Triangle2* pT : vTriangles)
	{
		for(int i = 0; i < 3; ++i) vCorners.push_back(pT->getCorner(i));
	}
	std::sort(vCorners.begin(), vCorners.end());
	vCorners.erase(std::unique(vCorners.begin(), vCorners.end()), vCorners.end());
}

} // namespace

CutAndFillImpl::CutAndFillImpl(Zone2* pZoneBefore_, Zone2* pZoneAfter_, double ignoreThreshold_)
	: pZoneBefore(pZoneBefore_), pZoneAfter(pZoneAfter_), ignoreThreshold(ignoreThreshold_), pCombinedDt(nullptr), pCombinedZone(nullptr)
{
	before.bBefore = true;
	after.bBefore = false;
}

CutAndFillImpl::~CutAndFillImpl()
{
	clear();
}

void CutAndFillImpl::clear()
{
	for(CAF_Component* pComponent : vComponents) delete pComponent;
	vComponents.clear();
	mVtx2BeforeAfter.clear();
	mHeights.clear();
	vCommonT.clear();
	sAddedCommonT.clear();
	vFinalT.clear();
	for(Side* pSide : {&before, &after})
	{
		pSide->vTriangles.clear();
		pSide->pBorderGraph = nullptr;
		pSide->pInnerGraph = nullptr;
	}
	pCombinedZone = nullptr; // owned by the combined triangulation
	delete pCombinedDt;
	pCombinedDt = nullptr;
}

CAF_Component* CutAndFillImpl::getComponent(size_t i) const
{
	MIREL_ASSERT(vComponents.size()>i);
	return vComponents[i];
}

bool CutAndFillImpl::go()
{
	clear();
	try
	{
		ProgressReporter progress(mListeners);
		progress.start("cut and fill", 6.0);
		if(!checkInput()) return false;
		progress.step();
		if(!combineSurfaces())
		{
			clear();
			return false;
		}
		progress.step();
		if(!complementHeightMap())
		{
			clear();
			return false;
		}
		progress.step();
		setCombinedHeights();
		postRound();
		progress.step();
		if(!realCut())
		{
			clear();
			return false;
		}
		progress.step();
		groupT2();
		mHeights.clear();
		progress.finish();
		return true;
	}
	catch(const std::exception& e)
	{
		sendError(GO_PLACE, std::string("the computation failed: ") + e.what());
	}
	catch(...)
	{
		sendError(GO_PLACE, "the computation failed");
	}
	clear();
	return false;
}

bool CutAndFillImpl::checkInput()
{
	if(pZoneBefore == nullptr || pZoneAfter == nullptr)
	{
		sendError(GO_PLACE, pZoneBefore == nullptr ? "pZoneBefore is NULL, no result" : "pZoneAfter is NULL, no result");
		return false;
	}
	if(!std::isfinite(ignoreThreshold) || ignoreThreshold < 0.0)
	{
		std::ostringstream oss;
		oss << "ignoreThreshold must be a finite number >= 0, not " << ignoreThreshold << ", no result";
		sendError(GO_PLACE, oss.str());
		return false;
	}
	before.pZone = pZoneBefore;
	after.pZone = pZoneAfter;
	pZoneBefore->getTriangles(before.vTriangles);
	pZoneAfter->getTriangles(after.vTriangles);
	if(before.vTriangles.empty() || after.vTriangles.empty())
	{
		sendError(GO_PLACE, before.vTriangles.empty() ? "The zone before has no triangles, no result" : "The zone after has no triangles, no result");
		return false;
	}
	// A height that is not a number would poison every volume it touches.
	for(const Side* pSide : {&before, &after})
	{
		for(const Triangle2* pT : pSide->vTriangles)
		{
			for(int i = 0; i < 3; ++i)
			{
				if(std::isfinite(pT->getCorner(i)->z())) continue;
				sendError(GO_PLACE, pSide->bBefore ? "The zone before has a vertex with a non-finite height, no result" : "The zone after has a vertex with a non-finite height, no result");
				return false;
			}
		}
	}
	return true;
}

// ======================================================================
// The combined surface
// ======================================================================

bool CutAndFillImpl::combineSurfaces()
{
	pCombinedDt = new Dt2(static_cast<unsigned>(std::min<size_t>(before.vTriangles.size() + after.vTriangles.size(), 2000000000u)));
	pCombinedDt->setName("combined surface");
	insertVerticesOf(before);
	insertVerticesOf(after);
	if(!pCombinedDt->hasArea())
	{
		sendError(GO_PLACE, "the zones span no area, no result");
		return false;
	}
	// The borders first: pieces split by later crossings tell their oriented
	// graphs, so the zones below stay bounded by them.
	createConstraintsOf(before);
	createConstraintsOf(after);
	for(Side* pSide : {&before, &after})
	{
		for(ConstraintGraph2* pGraph : {pSide->pBorderGraph, pSide->pInnerGraph})
		{
			if(pGraph == nullptr) continue;
			std::vector<ConstraintSegment2*> vPieces;
			pGraph->getChildConstraintSegments(vPieces);
			for(ConstraintSegment2* pPiece : vPieces)
			{
				if(pCombinedDt->getAdjacentTriangle(pPiece->getSrc(), pPiece->getTrg()) != nullptr) continue;
				if(pCombinedDt->getAdjacentTriangle(pPiece->getTrg(), pPiece->getSrc()) != nullptr) continue;
				sendError(GO_PLACE, "an edge of a surface could not be inserted into the combined surface, no result");
				return false;
			}
		}
	}
	Zone2* pInsideBefore(pCombinedDt->createZone(before.pBorderGraph, ZL_INSIDE, false));
	Zone2* pInsideAfter(pCombinedDt->createZone(after.pBorderGraph, ZL_INSIDE, false));
	MIREL_ASSERT(pInsideBefore!=0 && pInsideAfter!=0);
	pCombinedZone = zoneIntersection(pInsideBefore, pInsideAfter);
	MIREL_ASSERT(pCombinedZone!=0);
	pCombinedZone->getTriangles(vCommonT);
	if(vCommonT.empty())
	{
		sendError(GO_PLACE, "The zones do not overlap, no result");
		return false;
	}
	assignHeigthsOfConstraints(before);
	assignHeigthsOfConstraints(after);
	return true;
}

void CutAndFillImpl::insertVerticesOf(Side& side)
{
	std::vector<Point2*> vCorners;
	collectCorners(side.vTriangles, vCorners);
	std::vector<Point2> vPoints;
	vPoints.reserve(vCorners.size());
	for(Point2* pCorner : vCorners) vPoints.push_back(Point2(pCorner->x(), pCorner->y(), pCorner->z()));
	std::vector<Point2*> vHandles;
	pCombinedDt->insertVector(vPoints, vHandles);
	MIREL_ASSERT(vHandles.size()==vCorners.size());
	for(size_t i = 0; i < vHandles.size(); ++i)
	{
		HeightPair& heights(heightsOf(vHandles[i]));
		if(side.bBefore)
		{
			heights.before = vCorners[i]->z();
			heights.bBefore = true;
		}
		else
		{
			heights.after = vCorners[i]->z();
			heights.bAfter = true;
		}
	}
}

void CutAndFillImpl::createConstraintsOf(Side& side)
{
	// Border edges directed with the zone to their left (the triangles are
	// counterclockwise); each inner edge once.
	std::vector<Segment2> vBorder, vInner;
	for(Triangle2* pT : side.vTriangles)
	{
		for(int i = 0; i < 3; ++i)
		{
			Triangle2* pNeigh(pT->getOppositeTriangle(i));
			bool bInZone(pNeigh != nullptr && std::binary_search(side.vTriangles.begin(), side.vTriangles.end(), pNeigh));
			if(bInZone && pNeigh < pT) continue;
			Segment2 seg(*pT->getCorner(nextIndex(i)), *pT->getCorner(prevIndex(i)));
			if(bInZone) vInner.push_back(seg);
			else vBorder.push_back(seg);
		}
	}
	side.pBorderGraph = pCombinedDt->createConstraint(vBorder, CIS_CONSTRAINED_DELAUNAY, true);
	MIREL_ASSERT(side.pBorderGraph!=0);
	if(!vInner.empty()) side.pInnerGraph = pCombinedDt->createConstraint(vInner, CIS_CONSTRAINED_DELAUNAY, false);
}

void CutAndFillImpl::assignHeigthsOfConstraints(const Side& side)
{
	// A crossing splits an edge of this surface at a new vertex: its height on
	// this surface is interpolated along the whole input edge, so the rounding
	// of earlier splits never accumulates.
	std::vector<ConstraintSegment2*> vParents, vStack;
	for(ConstraintGraph2* pGraph : {side.pBorderGraph, side.pInnerGraph})
	{
		if(pGraph == nullptr) continue;
		vParents.clear();
		pGraph->getOriginalConstraintSegments(vParents);
		for(ConstraintSegment2* pParent : vParents)
		{
			Point2* p0(pParent->getSrc());
			Point2* p1(pParent->getTrg());
			const HeightPair& h0(heightsOf(p0));
			const HeightPair& h1(heightsOf(p1));
			MIREL_ASSERT(side.bBefore ? (h0.bBefore && h1.bBefore) : (h0.bAfter && h1.bAfter));
			double z0(side.bBefore ? h0.before : h0.after), z1(side.bBefore ? h1.before : h1.after);
			vStack.assign(1, pParent);
			while(!vStack.empty())
			{
				ConstraintSegment2* pCSeg(vStack.back());
				vStack.pop_back();
				const std::vector<ConstraintSegment2*>& vChildren(pCSeg->getChildren());
				if(vChildren.size() != 2) continue;
				ConstraintSegment2* pChildCS0(vChildren[0]);
				ConstraintSegment2* pChildCS1(vChildren[1]);
				Point2* pSplit(nullptr);
				if(pChildCS0->getSrc() == pChildCS1->getSrc() || pChildCS0->getSrc() == pChildCS1->getTrg()) pSplit = pChildCS0->getSrc();
				else if(pChildCS0->getTrg() == pChildCS1->getSrc() || pChildCS0->getTrg() == pChildCS1->getTrg()) pSplit = pChildCS0->getTrg();
				MIREL_ASSERT(pSplit!=0 && pChildCS0!=0 && pChildCS1!=0);
				HeightPair& heights(heightsOf(pSplit));
				if(side.bBefore && !heights.bBefore)
				{
					heights.before = interpolateAlong(p0, p1, z0, z1, pSplit);
					heights.bBefore = true;
				}
				else if(!side.bBefore && !heights.bAfter)
				{
					heights.after = interpolateAlong(p0, p1, z0, z1, pSplit);
					heights.bAfter = true;
				}
				vStack.push_back(pChildCS0);
				vStack.push_back(pChildCS1);
			}
		}
	}
}

bool CutAndFillImpl::complementHeightMap()
{
	for(Side* pSide : {&before, &after})
	{
		Bbox2 box(pSide->pZone->getDelaunayTriangulation()->computeBoundingBox());
		pSide->heightTolerance = 1e-9 * std::max(1.0, std::max(box.get_maxX() - box.get_minX(), box.get_maxY() - box.get_minY()));
	}
	std::vector<Point2*> vCorners;
	collectCorners(vCommonT, vCorners);
	for(Point2* pVtx : vCorners)
	{
		HeightPair& heights(heightsOf(pVtx));
		if(heights.bBefore && heights.bAfter) continue;
		if(!setOneMissingHeightPair(pVtx, heights)) return false;
	}
	return true;
}

bool CutAndFillImpl::setOneMissingHeightPair(Point2* pVtx, HeightPair& heights)
{
	// A vertex of one surface that lies inside a triangle of the other takes
	// that surface's height at its place. A crossing vertex may lie off the
	// other surface by the rounding of its coordinates: the tolerance lets the
	// height query reach the nearest hull edge then.
	for(Side* pSide : {&before, &after})
	{
		bool& bKnown(pSide->bBefore ? heights.bBefore : heights.bAfter);
		if(bKnown) continue;
		Dt2* pDt(pSide->pZone->getDelaunayTriangulation());
		double height(0.0);
		if(!pDt->getHeight(pVtx->x(), pVtx->y(), height, nullptr, pSide->heightTolerance))
		{
			std::ostringstream oss;
			oss << "no height " << (pSide->bBefore ? "before" : "after") << " at (" << pVtx->x() << ", " << pVtx->y() << "), no result";
			sendError("CutAndFillImpl::setOneMissingHeightPair()", oss.str());
			return false;
		}
		(pSide->bBefore ? heights.before : heights.after) = height;
		bKnown = true;
	}
	return true;
}

void CutAndFillImpl::setCombinedHeights()
{
	for(Triangle2* pT : vCommonT)
	{
		for(int i = 0; i < 3; ++i)
		{
			Point2* pVtx(pT->getCorner(i));
			const HeightPair& heights(heightsOf(pVtx));
			mVtx2BeforeAfter.emplace(pVtx, std::make_pair(heights.before, heights.after));
		}
	}
	mHeights.clear();
}

void CutAndFillImpl::postRound()
{
	// The combined height is the difference; one within the threshold counts
	// as no difference at all and becomes exactly 0.
	for(auto& entry : mVtx2BeforeAfter)
	{
		double diff(entry.second.first - entry.second.second);
		if(std::fabs(diff) <= ignoreThreshold) diff = 0.0;
		entry.first->setZ(diff);
	}
}

// ======================================================================
// Zero-line cuts
// ======================================================================

bool CutAndFillImpl::isCommon(Triangle2* pT) const
{
	return std::binary_search(vCommonT.begin(), vCommonT.end(), pT) || sAddedCommonT.count(pT) > 0;
}

bool CutAndFillImpl::realCut()
{
	std::vector<Triangle2*> vWork;
	for(Triangle2* pT : vCommonT)
	{
		if(hasPositiveAndNegativeCorner(pT)) vWork.push_back(pT);
	}
	// A triangle with both signs has one edge with both (a corner is 0) or
	// two: one or two cuts leave only triangles of one sign.
	while(!vWork.empty())
	{
		Triangle2* pT(vWork.back());
		vWork.pop_back();
		if(!hasPositiveAndNegativeCorner(pT)) continue;
		int numCutHelpers(0);
		for(int i = 0; i < 3; ++i)
		{
			if(pT->getCorner(nextIndex(i))->z() * pT->getCorner(prevIndex(i))->z() < 0.0) ++numCutHelpers;
		}
		MIREL_ASSERT(numCutHelpers==1 || numCutHelpers==2);
		for(int i = 0; i < 3; ++i)
		{
			if(pT->getCorner(nextIndex(i))->z() * pT->getCorner(prevIndex(i))->z() < 0.0)
			{
				if(!cutEdge(pT, i, vWork)) return false;
				break;
			}
		}
	}
	vFinalT.reserve(vCommonT.size() + sAddedCommonT.size());
	vFinalT.assign(vCommonT.begin(), vCommonT.end());
	vFinalT.insert(vFinalT.end(), sAddedCommonT.begin(), sAddedCommonT.end());
	std::sort(vFinalT.begin(), vFinalT.end());
	sAddedCommonT.clear();
	return true;
}

bool CutAndFillImpl::cutEdge(Triangle2* pT, int ith, std::vector<Triangle2*>& vWork)
{
	Point2* p(pT->getCorner(nextIndex(ith)));
	Point2* q(pT->getCorner(prevIndex(ith)));
	double dp(p->z()), dq(q->z());
	// The zero of the linear difference on the edge; both surfaces are linear
	// along it, so the heights there are interpolated too.
	double t(dp / (dp - dq));
	const std::pair<double, double>& hp(mVtx2BeforeAfter.at(p));
	const std::pair<double, double>& hq(mVtx2BeforeAfter.at(q));
	Point2 zeroPoint(p->x() + t * (q->x() - p->x()), p->y() + t * (q->y() - p->y()), 0.0);
	std::pair<double, double> heights(hp.first + t * (hq.first - hp.first), hp.second + t * (hq.second - hp.second));
	Triangle2* pU(pT->getOppositeTriangle(ith));
	bool bUCommon(pU != nullptr && isCommon(pU));
	Point2* pZeroVtx(pCombinedDt->splitEdgeAt(pT, ith, zeroPoint));
	if(pZeroVtx == nullptr)
	{
		std::ostringstream oss;
		oss << "the zero line near (" << zeroPoint.x() << ", " << zeroPoint.y() << ") has no place in double precision, no result";
		sendError("CutAndFillImpl::realCut()", oss.str());
		return false;
	}
	pZeroVtx->setZ(0.0);
	mVtx2BeforeAfter.emplace(pZeroVtx, heights);
	// The split left pT = (a, b, zero) with the other half across its edge 1
	// and the new half of pU across its edge 0.
	Triangle2* pT2(pT->getOppositeTriangle(1));
	sAddedCommonT.insert(pT2);
	vWork.push_back(pT);
	vWork.push_back(pT2);
	if(bUCommon)
	{
		Triangle2* pU2(pT->getOppositeTriangle(0));
		sAddedCommonT.insert(pU2);
		vWork.push_back(pU);
		vWork.push_back(pU2);
	}
	return true;
}

// ======================================================================
// Components
// ======================================================================

void CutAndFillImpl::groupT2()
{
	std::vector<char> vVisited(vFinalT.size(), 0);
	std::vector<size_t> vStack;
	std::vector<Triangle2*> vComponentT;
	int label(0);
	for(size_t start = 0; start < vFinalT.size(); ++start)
	{
		if(vVisited[start]) continue;
		CAFTYP type(getTriangleType(vFinalT[start]));
		vComponentT.clear();
		vVisited[start] = 1;
		vStack.assign(1, start);
		while(!vStack.empty())
		{
			Triangle2* pT(vFinalT[vStack.back()]);
			vStack.pop_back();
			vComponentT.push_back(pT);
			for(int i = 0; i < 3; ++i)
			{
				Triangle2* pNeigh(pT->getOppositeTriangle(i));
				if(pNeigh == nullptr) continue;
				auto it(std::lower_bound(vFinalT.begin(), vFinalT.end(), pNeigh));
				if(it == vFinalT.end() || *it != pNeigh) continue;
				size_t pos(size_t(it - vFinalT.begin()));
				if(vVisited[pos] || getTriangleType(pNeigh) != type) continue;
				vVisited[pos] = 1;
				vStack.push_back(pos);
			}
		}
		vComponents.push_back(new CAF_Component(vComponentT, mVtx2BeforeAfter, type, label++));
	}
}

// ======================================================================
// Results
// ======================================================================

bool CutAndFillImpl::getDiffZone(Zone2*& pDiffZone, std::map<Point2*, std::pair<double, double>>& mVtx2BeforeAfterOut) const
{
	if(pCombinedZone == nullptr)
	{
		sendWarning("CutAndFillImpl::getDiffZone()", "pCombinedZone is NULL. Setting pDiffZone=NULL.");
		pDiffZone = nullptr;
		return false;
	}
	pDiffZone = pCombinedZone;
	mVtx2BeforeAfterOut = mVtx2BeforeAfter;
	return true;
}

void CutAndFillImpl::show(Visualizer2* pVis) const
{
	if(pVis == nullptr)
	{
		sendWarning("CutAndFillImpl::show()", "pVis is NULL, nothing drawn");
		return;
	}
	// The colours of the components' debug scenes: null red, cut green, fill blue.
	const Color aFill[3] = {Color(1.0f, 0.0f, 0.0f, 0.0f, true), Color(0.0f, 1.0f, 0.0f, 0.0f, true), Color(0.0f, 0.0f, 1.0f, 0.0f, true)};
	std::vector<Triangle2*> vTriangles;
	std::vector<Segment2> vBorder;
	for(const CAF_Component* pComponent : vComponents)
	{
		vTriangles.clear();
		pComponent->getTriangles(vTriangles);
		pVis->addObject(vTriangles, aFill[pComponent->getCAFType()]);
	}
	for(const CAF_Component* pComponent : vComponents)
	{
		vBorder.clear();
		pComponent->getBorder(vBorder);
		pVis->addObject(vBorder, Color(CBLACK, 0.5f, false));
	}
}

} // namespace MIREL25D
