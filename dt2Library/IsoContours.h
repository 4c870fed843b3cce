#pragma once
#include "GeomTest.h"
#include "MirelExportMacro.h"
#include "Point2.h"
#include "Segment2.h"
#include "Triangle2.h"
#include "Vector2.h"
#include <cstdint>
#include <vector>

namespace MIREL25D {

// Contour lines of a terrain given as a set of triangles (of a triangulation
// or a zone), which it reads and never changes; they must stay alive while
// this object is used. Construction costs O(n log n) for n triangles; each
// contour height then costs O(n) plus its output.
//
// A contour at height h crosses each triangle whose corners lie on both sides
// of h once; its points lie on the crossed edges, have z == h exactly, and are
// computed per edge, so neighbouring pieces share their end points exactly:
// closed contours close exactly and polylines are continuous. Polylines run
// with the higher ground on their left; an open polyline starts and ends on
// the border of the triangle set and is never split in two.
class MIREL_API IsoContours
{
public:
	// Null or dead triangles and triangles with non-finite corners are left
	// out with a message; repeated ones count once.
	explicit IsoContours(const std::vector<Triangle2*>& vTriangles);
	// The same, and profiles along lines of direction dirVec (x and y are used).
	IsoContours(const std::vector<Triangle2*>& vTriangles, const Vector2& dirVec);
	IsoContours(const IsoContours&) = delete;
	IsoContours& operator=(const IsoContours&) = delete;

	// Fills vvContours (cleared first) with one vector of consecutive
	// segments per contour polyline; true on success. A height equal to a
	// vertex height would run through that vertex: without bSafeMode that
	// fails (message with bVerbose); with it the contour is taken at the
	// nearest height above that no vertex has (message with bVerbose). Heights
	// outside [getMinHeight(), getMaxHeight()] give no contours and true.
	// False with a message for a non-finite height or an empty triangle set.
	bool getContours(double height, std::vector<std::vector<Segment2>>& vvContours, bool bVerbose, bool bSafeMode);
	// Smallest and largest vertex height; for an empty triangle set the
	// largest finite double and its negative.
	double getMinHeight() const { return minHeight; }
	double getMaxHeight() const { return maxHeight; }
	// The vertical cut of the surface along the line through p in the
	// direction given at construction (the line through p and p + direction):
	// vSegments receives the 3D pieces in the order along the direction, one
	// per triangle crossed with positive length. Only for objects built with a
	// direction vector; otherwise a warning and nothing.
	void getProfile(const Point2& p, std::vector<Segment2>& vSegments);

private:
	void init(const std::vector<Triangle2*>& vTriangles);
	// The triangles crossed by the height (stamped); false after a message
	// where a triangle is not crossed exactly twice.
	bool collectCrossedTriangles(double height);
	// Edge k of triangle i is on the border of the set (no neighbour in it).
	bool isBorderEdge(uint32_t i, int k) const { return vNeighbour[3 * size_t(i) + size_t(k)] == NO_NEIGHBOUR; }
	// Entry and exit edge of the contour in triangle i (higher ground on the left).
	void getCrossedEdges(uint32_t i, double height, int& inEdge, int& outEdge) const;
	Point2 getContourPoint(uint32_t i, int edge, double height) const;
	// Follows the contour from triangle i, entered through inEdge, until the
	// border or the start triangle; appends the segments.
	void followContour(uint32_t i, int inEdge, double height, std::vector<Segment2>& vContour);

	static constexpr uint32_t NO_NEIGHBOUR = 0xffffffffu;
	std::vector<Triangle2*> vTriangles; // sorted by address, each once
	std::vector<double> vMinMaxZ; // per triangle: smallest and largest corner height
	std::vector<uint32_t> vNeighbour; // per triangle three indices into vTriangles, or NO_NEIGHBOUR
	std::vector<uint32_t> vStamp; // per triangle: the contour run that last took it
	std::vector<uint32_t> vCrossed; // triangles crossed by the current height
	uint32_t currentStamp;
	// Every vertex height, sorted and each once, searched like an ordered set.
	struct SortedHeights
	{
		std::vector<double> v;
		const double* end() const { return v.data() + v.size(); }
		const double* find(double h) const;
	};
	SortedHeights sForbiddenHeights;
	double minHeight, maxHeight;
	bool bHasDirection;
	Vector2 direction;
	GeomTest geomTest; // for the profile line
};

} // namespace MIREL25D
