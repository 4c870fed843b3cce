#include "ConstraintMgr.h"
#include "Dt2.h"
#include "Triangle2.h"
#include "tools.h"
#include <algorithm>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <sstream>

namespace MIREL25D {

namespace {
const size_t filterBytes(32768);
const size_t filterMinVertices(10000);
} // namespace

ConstraintMgr::ConstraintMgr(Dt2* pDt2_) : pDt2(pDt2_), pFilter(nullptr), bConformingExist(false) {}

ConstraintMgr::~ConstraintMgr()
{
	for(auto& entry : mPPCSeg) delete entry.second;
	for(ConstraintGraph2* pGraph : vGraphs) delete pGraph;
	delete[] pFilter;
}

void ConstraintMgr::createFilterIfLarge() const
{
	if(pFilter != nullptr || pDt2->numberOfPoints() < filterMinVertices) return;
	pFilter = new uint8_t[filterBytes];
	std::memset(pFilter, 0, filterBytes);
	for(Point2* p : sConstraintVertices) const_cast<ConstraintMgr*>(this)->filterAdd(p);
}

ConstraintSegment2* ConstraintMgr::addConstraintSegment(Point2* p0, Point2* p1, ConstraintInsertionStrategy cis)
{
	if(p1 < p0) std::swap(p0, p1);
	MIREL_ASSERT(p0<p1);
	auto it(mPPCSeg.find(std::make_pair(p0, p1)));
	if(it != mPPCSeg.end()) return it->second;
	ConstraintSegment2* pCSeg(new ConstraintSegment2(p0, p1, cis));
	if(cis != CIS_CONSTRAINED_DELAUNAY) bConformingExist = true;
	mPPCSeg.emplace(std::make_pair(p0, p1), pCSeg);
	sConstraintVertices.insert(p0);
	sConstraintVertices.insert(p1);
	createFilterIfLarge();
	if(pFilter != nullptr)
	{
		filterAdd(p0);
		filterAdd(p1);
	}
	return pCSeg;
}

ConstraintGraph2* ConstraintMgr::createConstraint(std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis, bool orientedSegments)
{
	if(vSegments.empty()) return nullptr;

	// All end points go in as one batch, then each segment finds its vertices
	// by binary search among the sorted distinct points.
	std::vector<Point2> vPoints;
	vPoints.reserve(2 * vSegments.size());
	for(const Segment2& seg : vSegments)
	{
		vPoints.push_back(seg.getSrc());
		vPoints.push_back(seg.getTrg());
	}
	std::sort(vPoints.begin(), vPoints.end());
	vPoints.erase(std::unique(vPoints.begin(), vPoints.end()), vPoints.end());
	std::vector<Point2*> vHandles;
	pDt2->insertVector(vPoints, vHandles);
	auto vertexOf = [&](const Point2& p) { return vHandles[size_t(std::lower_bound(vPoints.begin(), vPoints.end(), p) - vPoints.begin())]; };

	std::vector<ConstraintSegment2*> vCSegments;
	vCSegments.reserve(vSegments.size());
	std::map<std::pair<Point2*, Point2*>, bool> mPPReverse;
	for(const Segment2& seg : vSegments)
	{
		Point2* pSrc(vertexOf(seg.getSrc()));
		Point2* pTrg(vertexOf(seg.getTrg()));
		if(pSrc == pTrg)
		{
			std::ostringstream oss;
			oss << "(0) Identical source and endpoint, a constraint segment has been skipped.\n" << *pSrc << " <-> " << *pTrg;
			sendWarning("ConstraingMgr::createConstraint", oss.str());
			continue;
		}
		vCSegments.push_back(addConstraintSegment(pSrc, pTrg, cis));
		sInputSegments.insert(vCSegments.back());
		if(orientedSegments) mPPReverse[std::make_pair(std::min(pSrc, pTrg), std::max(pSrc, pTrg))] = (pTrg < pSrc);
	}

	ConstraintGraph2* pGraph(orientedSegments ? new ConstraintGraph2(pDt2, vCSegments, mPPReverse, cis) : new ConstraintGraph2(pDt2, vCSegments, cis));
	vGraphs.push_back(pGraph);

	std::vector<ConstraintSegment2*> vParents;
	pGraph->getOriginalConstraintSegments(vParents);
	bool bOk(true);
	ProgressReporter& progress(pDt2->getProgressReporter());
	progress.start("establish constraints", double(vParents.size()));
	for(ConstraintSegment2* pCSeg : vParents)
	{
		bOk = apply(pCSeg);
		if(!bOk) break;
		progress.step();
	}
	progress.finish();
	if(bOk) restoreConforming();
	return pGraph;
}

bool ConstraintMgr::apply(ConstraintSegment2* pCSeg)
{
	if(!pDt2->hasArea()) return true; // established by applyAll once there is area
	if(!pCSeg->isAlive())
	{
		if(pCSeg->getChildren().size() != 2) return true; // removed
		std::vector<ConstraintSegment2*> vPieces;
		pCSeg->getChildrenRec(vPieces);
		for(ConstraintSegment2* pPiece : vPieces)
		{
			if(!apply(pPiece)) return false;
		}
		return true;
	}
	bool bOk(true);
	switch(pCSeg->getCIS())
	{
		case CIS_CONFORMING_SURFACE_HEIGHT:
		case CIS_CONFORMING_SEGMENT_HEIGHT:
			bOk = pDt2->insertSegmentConformingDelaunay(pCSeg);
			break;
		case CIS_CONSTRAINED_DELAUNAY:
			bOk = pDt2->newCDT_applyOneCS(pCSeg);
			break;
		default:
			sendWarning("ConstraintMgr::apply()", "Unknown CIS");
			return true;
	}
	if(!bOk) sendWarning("ConstraintMgr::apply()", "insufficient numeric accuracy, need to skip last insertions");
	return bOk;
}

void ConstraintMgr::applyAll()
{
	std::vector<ConstraintSegment2*> vParents;
	for(ConstraintGraph2* pGraph : vGraphs)
	{
		vParents.clear();
		pGraph->getOriginalConstraintSegments(vParents);
		for(ConstraintSegment2* pCSeg : vParents)
		{
			if(!apply(pCSeg)) return;
		}
	}
	restoreConforming();
}

void ConstraintMgr::restoreConforming()
{
	if(!bConformingExist || !pDt2->hasArea()) return;
	if(!pDt2->restoreConformingDelaunay()) sendWarning("ConstraintMgr::apply()", "insufficient numeric accuracy, need to skip last insertions");
}

void ConstraintMgr::updateConstraintSegment(ConstraintSegment2* pParentCSeg, ConstraintSegment2* pCSeg0, ConstraintSegment2* pCSeg1)
{
	MIREL_ASSERT(pCSeg0!=pCSeg1);
	std::pair<Point2*, Point2*> key0(pCSeg0->getSrc(), pCSeg0->getTrg());
	std::pair<Point2*, Point2*> key1(pCSeg1->getSrc(), pCSeg1->getTrg());
	MIREL_ASSERT(key0.first<key0.second);
	MIREL_ASSERT(key1.first<key1.second);
	MIREL_ASSERT(!pParentCSeg->isAlive());
	mPPCSeg.emplace(key0, pCSeg0);
	mPPCSeg.emplace(key1, pCSeg1);
	pDt2->noteSplitConstraint(pParentCSeg);
}

void ConstraintMgr::inheritInputSegment(ConstraintSegment2* pParent, ConstraintSegment2* pChild)
{
	if(pChild == getInputSegment(pChild) && pChild->getChildren().empty() && sInputSegments.count(pChild) == 0) mInputSegment.emplace(pChild, getInputSegment(pParent));
}

bool ConstraintMgr::canSplitAt(ConstraintSegment2* pCSeg, Point2* pSplit) const
{
	std::vector<const ConstraintSegment2*> vStack;
	for(Point2* pEnd : {pCSeg->getSrc(), pCSeg->getTrg()})
	{
		auto it(mPPCSeg.find(std::make_pair(std::min(pEnd, pSplit), std::max(pEnd, pSplit))));
		if(it == mPPCSeg.end()) continue;
		vStack.assign(1, it->second);
		while(!vStack.empty())
		{
			const ConstraintSegment2* pNode(vStack.back());
			vStack.pop_back();
			if(pNode == pCSeg) return false;
			vStack.insert(vStack.end(), pNode->getChildren().begin(), pNode->getChildren().end());
		}
	}
	return true;
}

bool ConstraintMgr::isConstraintSlow(Point2* p0, Point2* p1) const
{
	if(pFilter == nullptr)
	{
		createFilterIfLarge();
		if(pFilter != nullptr && (!filterHas(p0) || !filterHas(p1))) return false;
	}
	if(p1 < p0) std::swap(p0, p1);
	auto it(mPPCSeg.find(std::make_pair(p0, p1)));
	return it != mPPCSeg.end() && it->second->isAlive();
}

bool ConstraintMgr::isConstraint(Point2* p) const
{
	if(mPPCSeg.empty()) return false;
	if(pFilter != nullptr && !filterHas(p)) return false;
	return sConstraintVertices.count(p) != 0;
}

bool ConstraintMgr::isConstraint(Triangle2* pT, int ith) const
{
	return isConstraint(pT->getCorner(nextIndex(ith)), pT->getCorner(prevIndex(ith)));
}

ConstraintSegment2* ConstraintMgr::getConstraintSegment(Point2* p0, Point2* p1) const
{
	if(p1 < p0) std::swap(p0, p1);
	auto it(mPPCSeg.find(std::make_pair(p0, p1)));
	if(it == mPPCSeg.end() || !it->second->isAlive()) return nullptr;
	return it->second;
}

void ConstraintMgr::getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vAliveConstraintSegments) const
{
	for(const auto& entry : mPPCSeg)
	{
		if(entry.second->isAlive()) vAliveConstraintSegments.push_back(entry.second);
	}
}

void ConstraintMgr::getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vAllConstraintSegments) const
{
	for(const auto& entry : mPPCSeg) vAllConstraintSegments.push_back(entry.second);
}

void ConstraintMgr::getConstraintGraphs(std::vector<ConstraintGraph2*>& vConstraintGraphs) const
{
	vConstraintGraphs.insert(vConstraintGraphs.end(), vGraphs.begin(), vGraphs.end());
}

// The alive pieces of a graph in the direction the user gave.
void ConstraintMgr::getAlivePieces(const ConstraintGraph2* pGraph, std::vector<ConstraintSegment2*>& vPieces) const
{
	std::vector<ConstraintSegment2*> vParents;
	pGraph->getOriginalConstraintSegments(vParents);
	for(ConstraintSegment2* pParent : vParents) const_cast<ConstraintGraph2*>(pGraph)->getAliveConstraintChain(pParent, vPieces);
}

bool ConstraintMgr::writeConstraints(const char* prefix) const
{
	bool bOk(true);
	std::vector<ConstraintSegment2*> vPieces;
	for(size_t i = 0; i < vGraphs.size(); ++i)
	{
		std::string filename(std::string(prefix) + "_c" + std::to_string(i) + ".con");
		vPieces.clear();
		getAlivePieces(vGraphs[i], vPieces);
		std::ostringstream info;
		info << "writes " << vPieces.size() << " child segments to " << filename;
		sendWarning("ConstraintMgr::writeConstraints()", info.str());
		std::ofstream out(filename.c_str());
		if(!out)
		{
			sendError("ConstraintMgr::writeConstraints()", "can't write " + filename);
			bOk = false;
			continue;
		}
		out << std::setprecision(17);
		for(ConstraintSegment2* pCSeg : vPieces)
		{
			bool bReverse(vGraphs[i]->isReverse(pCSeg));
			const Point2& a(bReverse ? *pCSeg->getTrg() : *pCSeg->getSrc());
			const Point2& b(bReverse ? *pCSeg->getSrc() : *pCSeg->getTrg());
			out << a.x() << "\t" << a.y() << "\t" << a.z() << "\t" << b.x() << "\t" << b.y() << "\t" << b.z() << "\n";
		}
		if(!out) bOk = false;
	}
	return bOk;
}

bool ConstraintMgr::writeConstraintsBIN(const char* prefix) const
{
	std::string filename(std::string(prefix) + "_con.bin");
	std::vector<ConstraintSegment2*> vPieces;
	std::vector<double> vCoords;
	for(ConstraintGraph2* pGraph : vGraphs)
	{
		vPieces.clear();
		getAlivePieces(pGraph, vPieces);
		for(ConstraintSegment2* pCSeg : vPieces)
		{
			bool bReverse(pGraph->isReverse(pCSeg));
			const Point2& a(bReverse ? *pCSeg->getTrg() : *pCSeg->getSrc());
			const Point2& b(bReverse ? *pCSeg->getSrc() : *pCSeg->getTrg());
			vCoords.insert(vCoords.end(), {a.x(), a.y(), a.z(), b.x(), b.y(), b.z()});
		}
	}
	uint64_t numPieces(vCoords.size() / 6);
	std::ostringstream info;
	info << "writes " << numPieces << " child segments to " << filename;
	sendWarning("ConstraintMgr::writeConstraintsBIN()", info.str());
	std::ofstream out(filename.c_str(), std::ios::binary);
	if(!out)
	{
		sendError("ConstraintMgr::writeConstraintsBIN()", "can't write " + filename);
		return false;
	}
	out.write(reinterpret_cast<const char*>(&numPieces), sizeof(numPieces));
	out.write(reinterpret_cast<const char*>(vCoords.data()), std::streamsize(vCoords.size() * sizeof(double)));
	return bool(out);
}

Triangle2* ConstraintMgr::findTriangleWithDirectedEdge(Point2* p0, Point2* p1) const
{
	return pDt2->getAdjacentTriangle(p0, p1);
}

} // namespace MIREL25D
