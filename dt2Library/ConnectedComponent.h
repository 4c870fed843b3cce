#pragma once
#include "Edge2.h"
#include "Point2.h"
#include "Segment2.h"
#include <vector>

namespace MIREL25D {

class GeomTest;
class Triangle2;

// One edge-connected part of a set of triangles, with its border: the edges
// whose neighbour is missing or not in the set, seen from the part (so the
// part lies to their left). Holes and pinch vertices are simply more border.
class ConnectedComponent
{
public:
	// Splits vSortedT (address order, no duplicates) into its components.
	static void split(const std::vector<Triangle2*>& vSortedT, std::vector<ConnectedComponent>& vComponentsOut);

	const std::vector<Triangle2*>& getTriangles() const { return vComponentT; }
	const std::vector<Edge2>& getBorderEdges() const { return vBorderEdges; }
	void getBorderSegments(std::vector<Segment2>& vSegmentsOut) const;
	// A point strictly inside one of the triangles, proven by the exact
	// orientation test; false when no triangle's barycentre is (all of them
	// are too thin for the rounded barycentre).
	bool findStartPoint(GeomTest& geomTest, Point2& startPoint) const;

private:
	std::vector<Triangle2*> vComponentT;
	std::vector<Edge2> vBorderEdges;
};

} // namespace MIREL25D
