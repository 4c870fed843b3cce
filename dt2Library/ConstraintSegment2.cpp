#include "ConstraintSegment2.h"
#include "ConstraintGraph2.h"
#include "ConstraintMgr.h"
#include "Dt2.h"
#include "InnerVtxMgr.h"
#include "tools.h"
#include <atomic>
#include <cmath>
#include <ostream>

namespace MIREL25D {

namespace {
// Diagnostics only: a process-wide running number. Atomic because servers
// build constraints in many triangulations on many threads at once; a plain
// counter would be a data race there.
std::atomic<int> labelCounter(0);
} // namespace

ConstraintSegment2::ConstraintSegment2(ConstraintMgr* pMgr_, Point2* p0_, Point2* p1_, ConstraintInsertionStrategy cis_)
	: pMgr(pMgr_), label(labelCounter.fetch_add(1, std::memory_order_relaxed)), p0(p0_), p1(p1_), cis(cis_), bAlive(true), adjacentArea(LARGEST_DOUBLE)
{
	MIREL_ASSERT(p0<p1);
}

ConstraintSegment2::~ConstraintSegment2() {}

void ConstraintSegment2::addOwnerRecursive(ConstraintGraph2* pOwner)
{
	sOwners.insert(pOwner);
	if(isAlive()) return;
	if(vChildren.empty()) return; // removed: no split tree below
	ConstraintSegment2* pKid0(vChildren[0]);
	ConstraintSegment2* pKid1(vChildren[1]);
	MIREL_ASSERT(pKid0!=0 && pKid1!=0);
	pKid0->addOwnerRecursive(pOwner);
	pKid1->addOwnerRecursive(pOwner);
}

void ConstraintSegment2::getChildrenRec(std::vector<ConstraintSegment2*>& vChildConstraintSegments)
{
	MIREL_ASSERT(vChildren.size()==2);
	for(ConstraintSegment2* pKid : vChildren)
	{
		if(pKid->isAlive()) vChildConstraintSegments.push_back(pKid);
		else if(!pKid->vChildren.empty()) pKid->getChildrenRec(vChildConstraintSegments);
	}
}

void ConstraintSegment2::getChildrenAndSplitPoint(ConstraintSegment2*& pCSeg0, ConstraintSegment2*& pCSeg1, Point2*& pSplit)
{
	if(isAlive())
	{
		sendWarning("ConstraintSegment2::getChildrenAndSplitPoint()", "*this is still alive!");
		return;
	}
	if(vChildren.size() != 2)
	{
		pCSeg0 = pCSeg1 = nullptr;
		pSplit = nullptr;
		return;
	}
	pCSeg0 = vChildren[0];
	pCSeg1 = vChildren[1];
	if(pCSeg0->p0 == pCSeg1->p0 || pCSeg0->p0 == pCSeg1->p1) pSplit = pCSeg0->p0;
	else if(pCSeg0->p1 == pCSeg1->p0 || pCSeg0->p1 == pCSeg1->p1) pSplit = pCSeg0->p1;
	else pSplit = nullptr;
}

// Registers the two children at pSplit and tells every owner graph; the
// manager-wide bookkeeping runs once, through the first owner.
void ConstraintSegment2::createChildren(Point2* pSplit)
{
	vChildren.push_back(pMgr->addConstraintSegment(p0, pSplit, cis));
	vChildren.push_back(pMgr->addConstraintSegment(p1, pSplit, cis));
	pMgr->inheritInputSegment(this, vChildren[0]);
	pMgr->inheritInputSegment(this, vChildren[1]);
	for(ConstraintGraph2* pOwner : sOwners)
	{
		vChildren[0]->addOwnerRecursive(pOwner);
		vChildren[1]->addOwnerRecursive(pOwner);
	}
	bool bFirst(true);
	for(ConstraintGraph2* pOwner : sOwners)
	{
		pOwner->updateSplittedConstraintSegment(this, bFirst);
		bFirst = false;
	}
}

bool ConstraintSegment2::split_combinatorialOnly(Point2* pSplit)
{
	MIREL_ASSERT(pSplit!=0);
	MIREL_ASSERT(isAlive());
	MIREL_ASSERT(p0!=pSplit && p1!=pSplit);
	MIREL_ASSERT(!sOwners.empty());
	createChildren(pSplit);
	return true;
}

Point2* ConstraintSegment2::insertSplitVertex(const Point2& splitPoint)
{
	ConstraintUnlock unlock(this);
	return pMgr->getDt2()->insert(splitPoint);
}

Point2* ConstraintSegment2::insertAndSplit(const Point2& splitPoint)
{
	MIREL_ASSERT(bAlive);
	MIREL_ASSERT(vChildren.empty());
	MIREL_ASSERT(!sOwners.empty());
	Dt2* pOwnerDt(pMgr->getDt2());
	MIREL_ASSERT(pOwnerDt!=0);
	Point2* pSplit(insertSplitVertex(splitPoint));
	MIREL_ASSERT(pSplit!=0);
	if(pSplit == p0 || pSplit == p1) return nullptr;
	createChildren(pSplit);

	std::vector<ConstraintSegment2*> vWork(vChildren);
	while(ConstraintSegment2* pPiece = ConstraintSegment2::popAlivePiece(vWork))
	{
		pMgr->apply(pPiece);
	}
	pOwnerDt->bfsFlipIncident(pSplit);
	return pSplit;
}

bool ConstraintSegment2::splitAndRemovePrev(const Point2& splitPoint)
{
	Point2* pSplit(insertAndSplit(splitPoint));
	if(pSplit == nullptr) return false;
	MIREL_ASSERT(!sOwners.empty());
	Dt2* pDt(pMgr->getDt2());
	InnerVtxMgr* pInnerVtxMgr(pDt->getInnerVtxMgr());
	pInnerVtxMgr->addInsertedVertex(pSplit, sqDistance2D(*p0, *pSplit));
	pInnerVtxMgr->removePreviouslyInsertedVertices(pDt, pSplit);
	return true;
}

std::ostream& operator<<(std::ostream& stream, const ConstraintSegment2& cseg)
{
	stream << "ConstraintSegment2 label " << cseg.label << ", " << cseg.p0 << ", " << cseg.p1;
	if(cseg.isAlive()) stream << " [alive]";
	else stream << " [DEAD, numChildren=" << cseg.vChildren.size() << "]";
	stream << "\n";
	stream << *cseg.p0 << "\n";
	stream << *cseg.p1 << "\n";
	stream << "length=" << std::sqrt(sqDistance2D(*cseg.p0, *cseg.p1));
	return stream;
}

ConstraintSegment2* ConstraintSegment2::popAlivePiece(std::vector<ConstraintSegment2*>& vStack)
{
	while(!vStack.empty())
	{
		ConstraintSegment2* pPiece(vStack.back());
		vStack.pop_back();
		if(pPiece->isAlive()) return pPiece;
		if(pPiece->vChildren.size() == 2) pPiece->getChildrenRec(vStack);
	}
	return nullptr;
}

} // namespace MIREL25D
