#pragma once
#include "Point2.h"
#include <algorithm>
#include <cstddef>
#include <map>
#include <unordered_set>
#include <vector>

namespace MIREL25D {

class Dt2;

// The squared 2D distance from c to the closed segment a-b. It only chooses
// where meshing works (which vertices go, where grid points keep room); the
// mesh is valid whatever it answers.
inline double sqDistanceToSegment2D(const Point2& c, const Point2& a, const Point2& b)
{
	double dx(b.x() - a.x()), dy(b.y() - a.y());
	double len2(dx * dx + dy * dy);
	double t(len2 > 0.0 ? ((c.x() - a.x()) * dx + (c.y() - a.y()) * dy) / len2 : 0.0);
	t = std::max(0.0, std::min(1.0, t));
	double px(a.x() + t * dx - c.x()), py(a.y() + t * dy - c.y());
	return px * px + py * py;
}

// The record of what quality meshing inserted: the vertices it put on
// constraint segments, each with the squared 2D distance from the first
// corner of the edge it split, and the free vertices it put inside zones
// (circumcentres and grid points).
// Only free vertices are ever removed again: a vertex on a constraint holds
// a split of that constraint, which is final.
class InnerVtxMgr
{
public:
	void addInsertedVertex(Point2* pVtx, double sqDistFromEdgeStart) { sInsertedInnerPoints[pVtx] = sqDistFromEdgeStart; }
	void addFreeVertex(Point2* pVtx);
	// Forgets every recorded vertex (they stay in the mesh).
	void clear();
	size_t numberOfInsertedVertices() const { return sInsertedInnerPoints.size(); }
	bool isInsertedVertex(Point2* pVtx) const { return sInsertedInnerPoints.count(pVtx) != 0; }
	// The recorded distance, or -1 for a vertex that is not in the record.
	double getSqDistance(Point2* pVtx) const
	{
		std::map<Point2*, double>::const_iterator it(sInsertedInnerPoints.find(pVtx));
		return it == sInsertedInnerPoints.end() ? -1.0 : it->second;
	}
	// Whether meshing inserted pVtx as a free vertex. Vertex memory is never
	// handed out twice (removal only deactivates), so a pointer is an identity.
	bool isRecordedFreeVertex(Point2* pVtx);
	// Removes from the mesh the recorded free vertices strictly closer to the
	// recorded split vertex pSplitVtx than its recorded distance, the room of
	// the split. The mesh stays a constrained Delaunay triangulation.
	// Returns the number of vertices removed.
	size_t removePreviouslyInsertedVertices(Dt2* pDt, Point2* pSplitVtx);

private:
	void collectInRange(Dt2* pDt, Point2* pCentre, double sqRange, std::vector<Point2*>& vInRange);

	std::map<Point2*, double> sInsertedInnerPoints;
	// Appended cheaply during refinement; indexed only when a removal asks.
	std::vector<Point2*> vFreePoints;
	std::unordered_set<Point2*> sFreePointIndex;
	size_t numIndexed = 0;
};

} // namespace MIREL25D
