#pragma once
#include <cstddef>
#include <map>

namespace MIREL25D {

class Point2;

// The record of the vertices that quality meshing put on constraint segments,
// each with the squared 2D distance from the first corner of the edge it split.
class InnerVtxMgr
{
public:
	void addInsertedVertex(Point2* pVtx, double sqDistFromEdgeStart) { sInsertedInnerPoints[pVtx] = sqDistFromEdgeStart; }
	// Forgets every recorded vertex (they stay in the mesh).
	void clear() { sInsertedInnerPoints.clear(); }
	size_t numberOfInsertedVertices() const { return sInsertedInnerPoints.size(); }
	bool isInsertedVertex(Point2* pVtx) const { return sInsertedInnerPoints.count(pVtx) != 0; }
	// The recorded distance, or -1 for a vertex that is not in the record.
	double getSqDistance(Point2* pVtx) const
	{
		std::map<Point2*, double>::const_iterator it(sInsertedInnerPoints.find(pVtx));
		return it == sInsertedInnerPoints.end() ? -1.0 : it->second;
	}

private:
	std::map<Point2*, double> sInsertedInnerPoints;
};

} // namespace MIREL25D
