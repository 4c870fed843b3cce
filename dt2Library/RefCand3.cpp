#include "RefCand3.h"
#include "Circle2.h"
#include "Color.h"
#include "ConstraintSegment2.h"
#include "Dt2.h"
#include "GeomTest.h"
#include "MeshGenParams.h"
#include "MeshSurgery.h"
#include "Visualizer2.h"
#include "tools.h"
#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <string>
#include <sstream>

namespace MIREL25D {

namespace {
const double LARGEST(std::numeric_limits<double>::max());
// The debug pictures are numbered across the whole process.
int numDebugPictures(0);

// Unit vector from a to b in 2.5D; a zero-length vector stays zero.
void unitVector(const Point2& a, const Point2& b, double v[3])
{
	v[0] = b.x() - a.x();
	v[1] = b.y() - a.y();
	v[2] = b.z() - a.z();
	double len(std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]));
	if(len > 0.0)
	{
		v[0] /= len;
		v[1] /= len;
		v[2] /= len;
	}
}

double angleDeg(const double u[3], const double v[3])
{
	double dot(u[0] * v[0] + u[1] * v[1] + u[2] * v[2]);
	dot = std::max(-1.0, std::min(1.0, dot));
	return std::acos(dot) * (180.0 / M_PI);
}
} // namespace

double getMinAngle25D(const Triangle2* pT)
{
	const Point2& p0(*pT->getCorner(0));
	const Point2& p1(*pT->getCorner(1));
	const Point2& p2(*pT->getCorner(2));
	double v01[3], v02[3], v12[3];
	unitVector(p0, p1, v01);
	unitVector(p0, p2, v02);
	unitVector(p1, p2, v12);
	double a0(angleDeg(v01, v02));
	double v10[3] = {-v01[0], -v01[1], -v01[2]};
	double a1(angleDeg(v10, v12));
	double a2(180.0 - a0 - a1);
	return std::min(a0, std::min(a1, a2));
}

void RefCand3::init(Dt2* pDt_, Triangle2* pT_, double minAngleKey_)
{
	minAngleKey = minAngleKey_;
	pDt = pDt_;
	pT = pT_;
	for(int i = 0; i < 3; ++i) aCorners[i] = pT_->getCorner(i);
	pReachedT = pT_;
	circumcenter = Point2();
	bDualAccurate = false;
	circumradius = 0.0;
	walkResult = WALK_FAILED;
	for(int i = 0; i < 3; ++i) aSqLen2D[i] = aSqLen25D[i] = 0.0;
	bVerbose = false;
}

void RefCand3::initCircumcenterAndWalk(GeomTest* pGeomTest)
{
	pReachedT = pT;
	std::pair<Point2, bool> dual(pT->getDual());
	circumcenter = dual.first;
	bDualAccurate = dual.second;
	if(!std::isfinite(circumcenter.x()) || !std::isfinite(circumcenter.y()))
	{
		// A triangle too flat for a circumcentre in doubles: nothing to walk to.
		walkResult = WALK_FAILED;
		return;
	}
	double maxAbs(std::max(std::fabs(circumcenter.x()), std::fabs(circumcenter.y())));
	if(maxAbs > pGeomTest->getMaxCoord()) pGeomTest->setStaticBound_MT(maxAbs);
	circumradius = std::sqrt(sqDistance2D(circumcenter, *aCorners[0]));
	walkResult = walkUntilConstraint(pGeomTest);
}

namespace {
// The walk towards a circumcentre never crosses a constraint edge.
struct ConstraintWalkGuard
{
	Dt2* pDt;
	bool mayCross(const Triangle2* t, int i, const Triangle2* /*n*/, int /*j*/) const { return !pDt->isConstraint(const_cast<Triangle2*>(t), i); }
};
} // namespace

int RefCand3::walkUntilConstraint(GeomTest* pGeomTest)
{
	Triangle2* pCur(pT);
	int e(-1);
	ConstraintWalkGuard guard{pDt};
	LocateResult result(MeshSurgery::walkToPoint(*pGeomTest, &circumcenter, pCur, e, guard));
	pReachedT = pCur;
	if(result == LOC_INSIDE) return WALK_INSIDE;
	if(result == LOC_STOPPED) return e;
	// The walk names a hull edge for a point on it: the point is in the mesh.
	if(isBeyondHull(result) && pGeomTest->getOrientation2(pCur, int(result), &circumcenter) == ORIENTATION2_COLLINEAR) return WALK_INSIDE;
	// Beyond a hull edge that is a constraint: that constraint blocks the way.
	if(isBeyondHull(result) && pDt->isConstraint(pCur, int(result))) return int(result);
	// Beyond the hull, or onto an existing vertex: nothing to insert.
	return WALK_FAILED;
}

bool RefCand3::isBlocked(MeshGenParams* pParams)
{
	if(walkResult == WALK_INSIDE) return false;
	if(walkResult == WALK_FAILED) return true;
	if(walkResult < 0 || walkResult > 2)
	{
		sendWarning("RefCand3::needRefinement", "bug, unexpected case");
		return true;
	}
	if(!pParams->bAllowConstraintSplitting) return true;
	Point2* p1(pReachedT->getCorner(nextIndex(walkResult)));
	Point2* p2(pReachedT->getCorner(prevIndex(walkResult)));
	ConstraintSegment2* pCSeg(pDt->getConstraintSegment(p1, p2));
	if(pCSeg != nullptr && pParams->isLocked(pCSeg)) return true;
	double minLen2(2.0 * pParams->minEdgeLength);
	return minLen2 * minLen2 > sqDistance2D(*p1, *p2);
}

bool RefCand3::isSafe(GeomTest* pGeomTest)
{
	if(bDualAccurate || walkResult == WALK_INSIDE) return true;
	int m(pT->getMaxIndex());
	if(!pDt->isConstraint(pT, m)) return false;
	if(pGeomTest->getOrientation2(pT, m, &circumcenter) == ORIENTATION2_CW) return false;
	if(walkResult == m) return true;
	sendWarning("RefCand3::isSafe()", "splitIndex!=maxIdx, numeric");
	return false;
}

// Size bounds: edge length (unless bEdgeBound is false), area, growth against the neighbours.
RefCand3::Reason RefCand3::hitsSizeBound(MeshGenParams* pParams, bool bEdgeBound)
{
	double maxEdgeLength(pParams->getMaxEdgeLength(pT));
	double maxTriangleArea(pParams->getMaxTriangleArea(pT));
	if(bEdgeBound && std::sqrt(aSqLen25D[2]) > maxEdgeLength) return REASON_EDGE;
	if(maxTriangleArea != LARGEST && pT->getArea25D() > maxTriangleArea) return REASON_AREA;
	if(pParams->growFactor == LARGEST || !(pParams->growFactor > 0.0)) return REASON_NONE;
	double a(std::sqrt(aSqLen25D[0])), b(std::sqrt(aSqLen25D[1])), c(std::sqrt(aSqLen25D[2]));
	double s((a + b + c) * 0.5);
	double sq(s * (s - a) * (s - b) * (s - c));
	double area(sq > 0.0 ? std::sqrt(sq) : 0.0);
	for(int i = 0; i < 3; ++i)
	{
		Point2* q1(pT->getCorner(nextIndex(i)));
		Point2* q2(pT->getCorner(prevIndex(i)));
		double neighbourArea(0.0);
		if(pDt->isConstraint(q1, q2))
		{
			ConstraintSegment2* pCSeg(pDt->getConstraintSegment(q1, q2));
			if(pCSeg == nullptr) continue;
			neighbourArea = pCSeg->getAdjacentArea();
			if(neighbourArea == LARGEST) continue;
		}
		else
		{
			Triangle2* pNeigh(pT->getOppositeTriangle(i));
			if(pNeigh == nullptr) continue;
			neighbourArea = pNeigh->getArea25D();
		}
		if(neighbourArea != 0.0 && neighbourArea >= pParams->growFactorMinArea && neighbourArea != LARGEST && area / neighbourArea > pParams->growFactor)
			return REASON_GROWTH;
	}
	return REASON_NONE;
}

// A corner between two constraint edges whose 3D angle is below the bound:
// an input angle that no refinement can widen.
bool RefCand3::hasSmallConstraintCorner(double minAngleDegree) const
{
	for(int i = 0; i < 3; ++i)
	{
		Point2* pC(pT->getCorner(i));
		Point2* pNext(pT->getCorner(nextIndex(i)));
		Point2* pPrev(pT->getCorner(prevIndex(i)));
		if(!pDt->isConstraint(pC, pNext) || !pDt->isConstraint(pC, pPrev)) continue;
		double u[3], v[3];
		unitVector(*pC, *pNext, u);
		unitVector(*pC, *pPrev, v);
		double dot(std::max(-1.0, std::min(1.0, u[0] * v[0] + u[1] * v[1] + u[2] * v[2])));
		double degrees(std::acos(dot) / 3.14159 * 180.0);
		if(minAngleDegree > degrees) return true;
	}
	return false;
}

// Size and angle are looked at first: a triangle that needs nothing is
// dropped without computing its circumcentre or walking. The verdict is the
// same as blocking and safety first, since all conditions must hold.
bool RefCand3::needRefinement(MeshGenParams* pParams, GeomTest* pGeomTest)
{
	if(pParams->verbosity == 1) bVerbose = true;
	computeEdgeLengths();
	Reason reason(findReason(pParams));
	if(reason == REASON_NONE) return false;
	initCircumcenterAndWalk(pGeomTest);
	if(isBlocked(pParams)) return false;
	if(!isSafe(pGeomTest)) return false;
	if(bVerbose) reportReason(reason);
	return true;
}

void RefCand3::computeEdgeLengths()
{
	for(int i = 0; i < 3; ++i)
	{
		aSqLen2D[i] = pT->getSquaredEdgeLength2D(i);
		aSqLen25D[i] = pT->getSquaredEdgeLength25D(i);
	}
	std::sort(aSqLen2D, aSqLen2D + 3);
	std::sort(aSqLen25D, aSqLen25D + 3);
}

// A triangle at a height jump (Dt2::isAtHeightJump) is left to the edge and
// angle bounds: smaller triangles there only get longer and steeper in 2.5D.
RefCand3::Reason RefCand3::findReason(MeshGenParams* pParams)
{
	const bool bGuided(pParams->pHeightGuide != nullptr);
	Reason sizeReason(hitsSizeBound(pParams, true));
	if(sizeReason == REASON_EDGE && bGuided && pDt->isAtHeightJump(pT, aSqLen2D[2])) sizeReason = hitsSizeBound(pParams, false);
	if(sizeReason != REASON_NONE) return sizeReason;
	if(hasSmallConstraintCorner(pParams->minAngleDegree)) return REASON_NONE;
	if(!(pParams->minAngleDegree > minAngleKey)) return REASON_NONE;
	double minAngle2D(std::min(pT->getInteriorAngle2D(0), std::min(pT->getInteriorAngle2D(1), pT->getInteriorAngle2D(2))));
	if(minAngle2D > 29.5) return REASON_NONE;
	if(bGuided && pDt->isAtHeightJump(pT, aSqLen2D[2])) return REASON_NONE;
	return REASON_ANGLE;
}

void RefCand3::reportReason(Reason reason)
{
	std::ostringstream rawText;
	const char* suffix(nullptr);
	switch(reason)
	{
		case REASON_EDGE:
			rawText << "RefC: sidelength is " << std::sqrt(aSqLen25D[2]);
			suffix = "_sidelen.ps";
			break;
		case REASON_AREA:
			rawText << "RefC: area";
			suffix = "_area.ps";
			break;
		case REASON_GROWTH:
			rawText << "RefC: growth";
			suffix = "_growth.ps";
			break;
		case REASON_ANGLE:
			rawText << "RefC: minAngle, current=" << minAngleKey;
			suffix = "_quality25.ps";
			break;
		default: return;
	}
	sendRawText(rawText.str() + "\n");
	showSituation(suffix);
}

void RefCand3::showSituation(const char* suffix) const
{
	++numDebugPictures;
	std::string filename("need_" + std::to_string(numDebugPictures) + suffix);
	Visualizer2 vis(filename.c_str());
	for(int i = 0; i < 3; ++i)
	{
		Triangle2* pNeigh(pT->getOppositeTriangle(i));
		if(pNeigh != nullptr) vis.addObject(*pNeigh, Color(CBLACK));
	}
	vis.addObject(*pT, Color(CRED, 0.001f, true));
	vis.addObject(Circle2(circumcenter, circumradius * circumradius), Color(CBLUE));
	vis.addObject(circumcenter, Color(CGREEN));
	vis.writeFile();
}

// ---------------------------------------------------------------------------
// Candidate pool and queue
// ---------------------------------------------------------------------------

void RefCandQueue::push(double key, Triangle2* pT)
{
	vHeap.push_back(Entry{key, seq++, pT, {pT->getCorner(0), pT->getCorner(1), pT->getCorner(2)}});
	std::push_heap(vHeap.begin(), vHeap.end());
}

RefCandQueue::Entry RefCandQueue::pop()
{
	std::pop_heap(vHeap.begin(), vHeap.end());
	Entry entry(vHeap.back());
	vHeap.pop_back();
	return entry;
}

} // namespace MIREL25D
