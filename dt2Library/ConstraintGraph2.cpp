#include "ConstraintGraph2.h"
#include "tools.h"
#include <sstream>
#include "ConstraintMgr.h"
#include "Dt2.h"
#include "Color.h"
#include "GeomTest.h"
#include "Segment2.h"
#include "Visualizer2.h"
#include "tools.h"
#include <algorithm>
#include <cmath>
#include <iostream>

namespace MIREL25D {

ConstraintGraph2::ConstraintGraph2(Dt2* pDt2_, std::vector<ConstraintSegment2*>& vCSegments, ConstraintInsertionStrategy cis_)
	: pDt2(pDt2_), pGeomTest(pDt2_->getGeomTest()), cis(cis_), bIsPolygon(false), bIsOriented(false)
{
	removeDegenerate(vCSegments);
	for(ConstraintSegment2* pCSeg : vCSegments) pCSeg->addOwnerRecursive(this);
	MIREL_ASSERT(vCSegParents.empty());
	MIREL_ASSERT(mCSegReverse.empty());
	if(checkAndSortPolygon(vCSegments))
	{
		bIsPolygon = true;
		bIsOriented = true;
	}
	else
	{
		vCSegParents.clear();
		mCSegReverse.clear();
		vCSegParents = vCSegments;
		for(ConstraintSegment2* pCSeg : vCSegParents) mCSegReverse[pCSeg] = false;
	}
	setDirectionsRecursive(vCSegParents);
}

ConstraintGraph2::ConstraintGraph2(Dt2* pDt2_, std::vector<ConstraintSegment2*>& vCSegments, std::map<std::pair<Point2*, Point2*>, bool> mPPReverse,
	ConstraintInsertionStrategy cis_)
	: pDt2(pDt2_), pGeomTest(pDt2_->getGeomTest()), cis(cis_), bIsPolygon(false), bIsOriented(true)
{
	removeDegenerate(vCSegments);
	for(ConstraintSegment2* pCSeg : vCSegments) pCSeg->addOwnerRecursive(this);
	MIREL_ASSERT(vCSegParents.empty());
	MIREL_ASSERT(mCSegReverse.empty());
	vCSegParents = vCSegments;
	for(ConstraintSegment2* pCSeg : vCSegParents)
	{
		Point2* p0(pCSeg->getSrc());
		Point2* p1(pCSeg->getTrg());
		MIREL_ASSERT(p0<p1);
		auto q_it(mPPReverse.find(std::make_pair(p0, p1)));
		MIREL_ASSERT(q_it!=mPPReverse.end());
		mCSegReverse[pCSeg] = q_it->second;
	}
	setDirectionsRecursive(vCSegParents);
}

void ConstraintGraph2::removeDegenerate(std::vector<ConstraintSegment2*>& vCSegments)
{
	auto isDegenerate = [](ConstraintSegment2* pCSeg) { return pCSeg->getSrc() == pCSeg->getTrg(); };
	if(std::none_of(vCSegments.begin(), vCSegments.end(), isDegenerate)) return;
	sendWarning("ConstraintGraph2::ConstraintGraph2()", "Ignoring a degenerate constraint segment");
	vCSegments.erase(std::remove_if(vCSegments.begin(), vCSegments.end(), isDegenerate), vCSegments.end());
}

Point2* ConstraintGraph2::getDirectedSrc(ConstraintSegment2* pCSeg) const
{
	auto it(mCSegReverse.find(pCSeg));
	return (it != mCSegReverse.end() && it->second) ? pCSeg->getTrg() : pCSeg->getSrc();
}

Point2* ConstraintGraph2::getDirectedTrg(ConstraintSegment2* pCSeg) const
{
	auto it(mCSegReverse.find(pCSeg));
	return (it != mCSegReverse.end() && it->second) ? pCSeg->getSrc() : pCSeg->getTrg();
}

// One closed simple ring, stored counterclockwise from its leftmost (lowest
// among leftmost) vertex: that vertex is convex, so the orientation of its two
// neighbours tells the ring's sense.
bool ConstraintGraph2::checkAndSortPolygon(std::vector<ConstraintSegment2*>& vCSegments)
{
	if(vCSegments.size() < 3) return false;
	std::multimap<Point2*, ConstraintSegment2*> mVtxCSeg;
	for(ConstraintSegment2* pCSeg : vCSegments)
	{
		mVtxCSeg.emplace(pCSeg->getSrc(), pCSeg);
		mVtxCSeg.emplace(pCSeg->getTrg(), pCSeg);
	}
	Point2* pStart(nullptr);
	for(const auto& entry : mVtxCSeg)
	{
		if(pStart == nullptr || *entry.first < *pStart) pStart = entry.first;
	}
	if(mVtxCSeg.count(pStart) != 2) return false;
	auto range(mVtxCSeg.equal_range(pStart));
	ConstraintSegment2* pA(range.first->second);
	ConstraintSegment2* pB(std::next(range.first)->second);
	if(pA == pB) return false;
	Point2* pa(pA->getSrc() == pStart ? pA->getTrg() : pA->getSrc());
	Point2* pb(pB->getSrc() == pStart ? pB->getTrg() : pB->getSrc());
	Orientation2 ori(pGeomTest->getOrientation2(pStart, pa, pb));
	if(ori == ORIENTATION2_COLLINEAR) return false;
	ConstraintSegment2* pLast(ori == ORIENTATION2_CCW ? pA : pB);

	vCSegParents.push_back(pLast);
	mCSegReverse[pLast] = (pLast->getTrg() == pStart);
	Point2* pCurrent(mCSegReverse[pLast] ? pLast->getSrc() : pLast->getTrg());
	while(pCurrent != pStart)
	{
		if(vCSegParents.size() > vCSegments.size() || mVtxCSeg.count(pCurrent) != 2) return false;
		auto r(mVtxCSeg.equal_range(pCurrent));
		ConstraintSegment2* pFirst(r.first->second);
		ConstraintSegment2* pSecond(std::next(r.first)->second);
		ConstraintSegment2* pNext(nullptr);
		if(pFirst == pLast && pSecond == pLast)
		{
			sendWarning("ConstraintGraph2::checkAndSortPolygon()", "Impossible case1!");
			return false;
		}
		if(pFirst == pLast) pNext = pSecond;
		else if(pSecond == pLast) pNext = pFirst;
		else
		{
			sendWarning("ConstraintGraph2::checkAndSortPolygon()", "Impossible case2!");
			return false;
		}
		if(pNext->getSrc() != pCurrent && pNext->getTrg() != pCurrent)
		{
			sendWarning("ConstraintGraph2::checkAndSortPolygon()", "Impossible case3!");
			return false;
		}
		bool bReverse(pNext->getTrg() == pCurrent);
		if(mCSegReverse.count(pNext) != 0) return false; // a segment given twice
		vCSegParents.push_back(pNext);
		mCSegReverse[pNext] = bReverse;
		pCurrent = bReverse ? pNext->getSrc() : pNext->getTrg();
		pLast = pNext;
	}
	return vCSegParents.size() == vCSegments.size();
}

void ConstraintGraph2::setDirectionsRecursive(const std::vector<ConstraintSegment2*>& vCSegments)
{
	for(ConstraintSegment2* pParent : vCSegments)
	{
		if(pParent->isAlive() || pParent->getChildren().size() != 2) continue;
		ConstraintSegment2* pChild0(nullptr);
		ConstraintSegment2* pChild1(nullptr);
		Point2* pSplit(nullptr);
		pParent->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);
		Point2* pParentSrc(getDirectedSrc(pParent));
		Point2* pParentTrg(getDirectedTrg(pParent));
		// Each child continues the parent's direction: the child at the
		// parent's source starts there, the other ends at the parent's target.
		for(ConstraintSegment2* pChild : {pChild0, pChild1})
		{
			bool bAtSrc(pChild->getSrc() == pParentSrc || pChild->getTrg() == pParentSrc);
			mCSegReverse[pChild] = bAtSrc ? (pChild->getTrg() == pParentSrc) : (pChild->getSrc() == pParentTrg);
		}
		Point2* pChild0Src(getDirectedSrc(pChild0));
		Point2* pChild0Trg(getDirectedTrg(pChild0));
		Point2* pChild1Src(getDirectedSrc(pChild1));
		Point2* pChild1Trg(getDirectedTrg(pChild1));
		MIREL_ASSERT(pChild0Src==pParentSrc || pChild1Src==pParentSrc);
		MIREL_ASSERT(pChild0Trg==pParentTrg || pChild1Trg==pParentTrg);
		MIREL_ASSERT(pChild0Trg==pChild1Src || pChild1Trg==pChild0Src);
		setDirectionsRecursive({pChild0, pChild1});
	}
}

void ConstraintGraph2::updateSplittedConstraintSegment(ConstraintSegment2* pParentCSeg, bool bFirst)
{
	MIREL_ASSERT(!pParentCSeg->isAlive());
	auto q_it(mCSegReverse.find(pParentCSeg));
	MIREL_ASSERT(q_it!=mCSegReverse.end());
	setDirectionsRecursive({pParentCSeg});
	ConstraintSegment2* pChild0(nullptr);
	ConstraintSegment2* pChild1(nullptr);
	Point2* pSplit(nullptr);
	pParentCSeg->getChildrenAndSplitPoint(pChild0, pChild1, pSplit);
	MIREL_ASSERT(pSplit!=0);
	sSplitVertices.insert(pSplit);
	if(bFirst) pDt2->getConstraintMgr()->updateConstraintSegment(pParentCSeg, pChild0, pChild1);
}

void ConstraintGraph2::getOriginalConstraintSegments(std::vector<ConstraintSegment2*>& vConstraintSegments) const
{
	vConstraintSegments.insert(vConstraintSegments.end(), vCSegParents.begin(), vCSegParents.end());
}

void ConstraintGraph2::getChildConstraintSegments(std::vector<ConstraintSegment2*>& vConstraintSegments) const
{
	for(ConstraintSegment2* pCSeg : vCSegParents)
	{
		if(pCSeg->isAlive()) vConstraintSegments.push_back(pCSeg);
		else if(pCSeg->getChildren().size() == 2) pCSeg->getChildrenRec(vConstraintSegments);
	}
}

void ConstraintGraph2::getDirectChildren(ConstraintSegment2* pParent, ConstraintSegment2*& pChild0, ConstraintSegment2*& pChild1)
{
	pChild0 = pChild1 = nullptr;
	const std::vector<ConstraintSegment2*>& vKids(pParent->getChildren());
	if(vKids.size() != 2) return;
	Point2* pParentSrc(getDirectedSrc(pParent));
	bool bKid0AtSrc(vKids[0]->getSrc() == pParentSrc || vKids[0]->getTrg() == pParentSrc);
	pChild0 = bKid0AtSrc ? vKids[0] : vKids[1];
	pChild1 = bKid0AtSrc ? vKids[1] : vKids[0];
}

void ConstraintGraph2::getAliveConstraintChain(ConstraintSegment2* pCSeg, std::vector<ConstraintSegment2*>& vChain)
{
	if(pCSeg->isAlive())
	{
		vChain.push_back(pCSeg);
		return;
	}
	ConstraintSegment2* pKid0(nullptr);
	ConstraintSegment2* pKid1(nullptr);
	getDirectChildren(pCSeg, pKid0, pKid1);
	MIREL_ASSERT(pKid0!=0 && pKid1!=0);
	getAliveConstraintChain(pKid0, vChain);
	getAliveConstraintChain(pKid1, vChain);
}

void ConstraintGraph2::getPolygonVertices(std::vector<Point2*>& vVertices)
{
	std::vector<ConstraintSegment2*> vChain;
	for(ConstraintSegment2* pParent : vCSegParents)
	{
		vChain.clear();
		getAliveConstraintChain(pParent, vChain);
		for(ConstraintSegment2* pCSeg : vChain)
		{
			if(!pCSeg->isAlive())
			{
				std::ostringstream oss;
				oss << "BUG in ConstraintGraph2::getPolygonVertices\n"
					<< "For constraint segment pCSeg:" << *pCSeg << "\n"
					<< "ownerCG=" << this << "\n";
				sendRawText(oss.str());
				MIREL_ASSERT(pCSeg->isAlive());
			}
			vVertices.push_back(getDirectedSrc(pCSeg));
		}
	}
}

bool ConstraintGraph2::isConstraint(ConstraintSegment2* pCSeg) const
{
	return pCSeg->isAlive() && mCSegReverse.count(pCSeg) != 0;
}

bool ConstraintGraph2::isConstraint(Point2* p0, Point2* p1) const
{
	if(p0 == p1) return false;
	if(p1 < p0) std::swap(p0, p1);
	ConstraintSegment2 probe(nullptr, p0, p1, cis);
	auto it(mCSegReverse.find(&probe));
	return it != mCSegReverse.end() && it->first->isAlive();
}

bool ConstraintGraph2::isReverse(ConstraintSegment2* pCSeg) const
{
	auto q_it(mCSegReverse.find(pCSeg));
	MIREL_ASSERT(q_it!=mCSegReverse.end());
	return q_it->second;
}

// The piece is Delaunay when neither opposite vertex lies strictly inside the
// circumcircle of the other side's triangle (the two tests are equivalent).
bool ConstraintGraph2::isDelaunayPiece(ConstraintSegment2* pCSeg, Point2*& pOpp0, Point2*& pOpp1)
{
	pOpp0 = pOpp1 = nullptr;
	Triangle2* pT0(pDt2->getConstraintMgr()->findTriangleWithDirectedEdge(pCSeg->getSrc(), pCSeg->getTrg()));
	Triangle2* pT1(pDt2->getConstraintMgr()->findTriangleWithDirectedEdge(pCSeg->getTrg(), pCSeg->getSrc()));
	if(pT0 == nullptr || pT1 == nullptr) return true;
	pOpp0 = pT0->getCorner(prevIndex(pT0->getIntraTriangleIndex(pCSeg->getSrc())));
	pOpp1 = pT1->getCorner(prevIndex(pT1->getIntraTriangleIndex(pCSeg->getTrg())));
	return pGeomTest->circleInc3state(pT0, pOpp1) != CINC2_INCIRCLE;
}

// The midpoint, or a point that keeps a nearly collinear opposite vertex
// from producing a sliver: that vertex itself when it practically lies on
// the piece, else its perpendicular foot when it is close.
Point2 ConstraintGraph2::chooseSplitPoint(ConstraintSegment2* pCSeg, Point2* pOpp0, Point2* pOpp1, Point2*& pExistingVertex) const
{
	const Point2& a(*pCSeg->getSrc());
	const Point2& b(*pCSeg->getTrg());
	Point2 splitPoint((a.x() + b.x()) / 2.0, (a.y() + b.y()) / 2.0, (a.z() + b.z()) / 2.0);
	pExistingVertex = nullptr;
	double dx(b.x() - a.x()), dy(b.y() - a.y());
	double sqLen(dx * dx + dy * dy);
	double len(std::sqrt(sqLen));
	for(Point2* pOpp : {pOpp0, pOpp1})
	{
		if(pOpp == nullptr) continue;
		double t(((pOpp->x() - a.x()) * dx + (pOpp->y() - a.y()) * dy) / sqLen);
		if(!(t > 0.0 && t < 1.0)) continue;
		Point2 foot(a.x() + t * dx, a.y() + t * dy, a.z() + t * (b.z() - a.z()));
		if(foot == a || foot == b) continue;
		double d(std::sqrt(sqDistance2D(*pOpp, foot)));
		double d0(std::sqrt(sqDistance2D(foot, a)));
		double d1(std::sqrt(sqDistance2D(foot, b)));
		if((d < 0.001 && d / d0 < 0.01 && d / d1 < 0.01) || d < 1e-6)
		{
			pExistingVertex = pOpp;
			return *pOpp;
		}
		if(d / len < 0.01) splitPoint = foot;
	}
	return splitPoint;
}

bool ConstraintGraph2::makeDelaunay(double minLength)
{
	double sqMinLength(minLength * minLength);
	bool bAllDelaunay(true);
	bool bChanged(true);
	std::vector<ConstraintSegment2*> vStack;
	while(bChanged)
	{
		bChanged = false;
		vStack.clear();
		getChildConstraintSegments(vStack);
		std::sort(vStack.begin(), vStack.end());
		vStack.erase(std::unique(vStack.begin(), vStack.end()), vStack.end());
		while(ConstraintSegment2* pCSeg = ConstraintSegment2::popAlivePiece(vStack))
		{
			Point2* pOpp0(nullptr);
			Point2* pOpp1(nullptr);
			if(isDelaunayPiece(pCSeg, pOpp0, pOpp1)) continue;
			if(sqDistance2D(*pCSeg->getSrc(), *pCSeg->getTrg()) < sqMinLength)
			{
				bAllDelaunay = false;
				continue;
			}
			Point2* pExistingVertex(nullptr);
			Point2 splitPoint(chooseSplitPoint(pCSeg, pOpp0, pOpp1, pExistingVertex));
			if(pCSeg->insertAndSplit(splitPoint) != nullptr)
			{
				bChanged = true;
				MIREL_ASSERT(!pCSeg->isAlive());
				vStack.insert(vStack.end(), pCSeg->getChildren().begin(), pCSeg->getChildren().end());
			}
		}
	}
	return bAllDelaunay;
}

void ConstraintGraph2::show(const char* filename)
{
	Visualizer2 vis(filename);
	show(&vis, Color(CRED));
	vis.writeFile();
}

void ConstraintGraph2::show(Visualizer2* pVis, const Color& c)
{
	std::vector<ConstraintSegment2*> vPieces;
	getChildConstraintSegments(vPieces);
	for(ConstraintSegment2* pCSeg : vPieces) pVis->addObject(Segment2(*pCSeg->getSrc(), *pCSeg->getTrg()), c);
}

} // namespace MIREL25D
