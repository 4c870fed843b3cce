#pragma once
#include "Point2.h"
#include "Segment2.h"
#include <cstddef>
#include <unordered_set>
#include <vector>

namespace MIREL25D {

class ConstraintSegment2;
class Dt2;
class MeshGenParams;
class Triangle2;
class Zone2;

// Grid pre-meshing of a zone before Delaunay refinement: grid lines run in
// the direction gridVector at the spacing gridLength; the zone's constraint
// segments are split where the lines cross them (chopConstraints), then
// points go along each line inside the zone at a spacing close to the grid
// length (createStripes). Refinement then starts from a regular mesh of
// about that size instead of growing one from the border.
class GridMesher
{
public:
	GridMesher(Dt2* pDt_, MeshGenParams* pParams_);
	// Pre-meshes the zone with at most maxPoints new vertices (else nothing
	// is done); returns the number of vertices inserted.
	size_t run(size_t maxPoints);

private:
	struct Crossing
	{
		double along; // position along the grid line
		Point2 point; // on the constraint piece, with the piece's height there
	};
	bool computeFrame(const std::vector<ConstraintSegment2*>& vCSegs);
	Point2 toWorld(double along, double across) const;
	double alongOf(const Point2& p) const;
	size_t chopConstraints(const std::vector<ConstraintSegment2*>& vCSegs);
	size_t chopSegment(ConstraintSegment2* pCSeg, std::vector<Crossing>& vCrossings);
	bool findSplitPoint(Point2* pA, Point2* pB, const Point2& q, Point2& splitPoint);
	void createStripes(std::vector<Point2>& vGridPoints);
	void placeStripePoints(double across, bool bShifted, std::vector<double>& vConstraintPoints, std::vector<Point2>& vGridPoints);
	bool hasClearance(const Point2& q, Triangle2* pT);

	Dt2* pDt;
	MeshGenParams* pParams;
	Zone2* pZone;
	double gridLength;
	// The grid frame: an origin in the zone, the unit direction of the lines
	// and its left normal; the zone's box in frame coordinates.
	double originX, originY, dirX, dirY, orthX, orthY;
	double minAlong, maxAlong, minAcross, maxAcross;
	double firstAcross; // the first line; line k lies at firstAcross + k * gridLength
	int numLines;
	std::vector<std::vector<double>> vLineCrossings; // per line: where constraints cross it
	std::unordered_set<Triangle2*> sZoneT;           // the zone before the grid points go in
	std::vector<Triangle2*> vSearchT;                // work list of hasClearance
	bool bHeightMissing;
};

} // namespace MIREL25D
