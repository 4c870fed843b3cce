#include "InnerVtxMgr.h"
#include "Dt2.h"
#include "Point2.h"
#include "Triangle2.h"
#include "tools.h"
#include <algorithm>
#include <unordered_set>

namespace MIREL25D {

void InnerVtxMgr::addFreeVertex(Point2* pVtx)
{
	vFreePoints.push_back(pVtx);
}

void InnerVtxMgr::clear()
{
	sInsertedInnerPoints.clear();
	vFreePoints.clear();
	sFreePointIndex.clear();
	numIndexed = 0;
}

bool InnerVtxMgr::isRecordedFreeVertex(Point2* pVtx)
{
	for(; numIndexed < vFreePoints.size(); ++numIndexed) sFreePointIndex.insert(vFreePoints[numIndexed]);
	return sFreePointIndex.count(pVtx) != 0;
}

// The triangles that meet the open disk around pCentre, reached across their
// edges from the vertex's own fan; their corners inside the disk.
void InnerVtxMgr::collectInRange(Dt2* pDt, Point2* pCentre, double sqRange, std::vector<Point2*>& vInRange)
{
	std::vector<Triangle2*> vVisited;
	pDt->getIncidentTriangles(pCentre, vVisited);
	std::unordered_set<Triangle2*> sVisited(vVisited.begin(), vVisited.end());
	std::unordered_set<Point2*> sInRange;
	for(size_t next = 0; next < vVisited.size(); ++next)
	{
		Triangle2* pT(vVisited[next]);
		for(int i = 0; i < 3; ++i)
		{
			Point2* pCorner(pT->getCorner(i));
			if(pCorner != pCentre && sqDistance2D(*pCentre, *pCorner) < sqRange && sInRange.insert(pCorner).second) vInRange.push_back(pCorner);
			Triangle2* pNeigh(pT->getOppositeTriangle(i));
			if(pNeigh == nullptr || sVisited.count(pNeigh) != 0) continue;
			if(sqDistanceToSegment2D(*pCentre, *pT->getCorner(nextIndex(i)), *pT->getCorner(prevIndex(i))) < sqRange)
			{
				sVisited.insert(pNeigh);
				vVisited.push_back(pNeigh);
			}
		}
	}
}

size_t InnerVtxMgr::removePreviouslyInsertedVertices(Dt2* pDt, Point2* pSplitVtx)
{
	std::map<Point2*, double>::iterator q_it(sInsertedInnerPoints.find(pSplitVtx));
	MIREL_ASSERT(q_it!=sInsertedInnerPoints.end());
	std::vector<Point2*> vInRange;
	collectInRange(pDt, pSplitVtx, q_it->second, vInRange);
	size_t numRemoved(0);
	for(Point2* pVtx : vInRange)
	{
		// Constraint vertices stay, also recorded ones that a later split put on a constraint.
		if(!isRecordedFreeVertex(pVtx) || pDt->isConstraint(pVtx)) continue;
		pDt->remove(pVtx);
		sFreePointIndex.erase(pVtx);
		++numRemoved;
	}
	return numRemoved;
}

} // namespace MIREL25D
