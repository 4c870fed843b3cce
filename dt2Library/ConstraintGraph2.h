#pragma once
#include "ConstraintSegment2.h"
#include "MirelExportMacro.h"
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace MIREL25D {

class Color;
class Dt2;
class GeomTest;
class Visualizer2;

// Orders segments by their endpoint pair, i.e. ConstraintSegment2::operator<.
struct MIREL_API Func_ltConstraintSegment2
{
	bool operator()(const ConstraintSegment2* pA, const ConstraintSegment2* pB) const { return *pA < *pB; }
};

// The segments of one createConstraint call, kept together: as given (the
// parents) and as they are now (the alive pieces of their split trees), with
// the direction the user gave each piece. Zones are bounded by graphs, so a
// closed simple ring of unoriented segments is recognised and stored
// counterclockwise. The graph never owns its segments.
class MIREL_API ConstraintGraph2
{
public:
	ConstraintGraph2(Dt2* pDt2_, std::vector<ConstraintSegment2*>& vCSegments, ConstraintInsertionStrategy cis_);
	ConstraintGraph2(Dt2* pDt2_, std::vector<ConstraintSegment2*>& vCSegments, std::map<std::pair<Point2*, Point2*>, bool> mPPReverse, ConstraintInsertionStrategy cis_);
	ConstraintGraph2(const ConstraintGraph2&) = delete;
	ConstraintGraph2& operator=(const ConstraintGraph2&) = delete;

	ConstraintInsertionStrategy getInsertionStrategy() const { return cis; }
	void getOriginalConstraintSegments(std::vector<ConstraintSegment2*>& vConstraintSegments) const;
	// The alive pieces of all parents.
	void getChildConstraintSegments(std::vector<ConstraintSegment2*>& vConstraintSegments) const;
	// The two children of pParent: pChild0 at its directed source, pChild1 at its directed target.
	void getDirectChildren(ConstraintSegment2* pParent, ConstraintSegment2*& pChild0, ConstraintSegment2*& pChild1);
	// The ring of vertices in ring order, split vertices included.
	void getPolygonVertices(std::vector<Point2*>& vVertices);
	bool isConstraint(ConstraintSegment2* pCSeg) const;
	bool isConstraint(Point2* p0, Point2* p1) const;
	bool isOriented() const { return bIsOriented; }
	bool isPolygon() const { return bIsPolygon; }
	bool isReverse(ConstraintSegment2* pCSeg) const;
	// Splits pieces until the triangles beside each are Delaunay; false when a
	// piece shorter than minLength had to be left non-Delaunay.
	bool makeDelaunay(double minLength);
	// Draws the alive pieces: into a new PostScript file, or into a drawing
	// the caller writes.
	void show(const char* filename);
	void show(Visualizer2* pVis, const Color& c);

	// Internal.
	Dt2* getDt2() const { return pDt2; }
	void updateSplittedConstraintSegment(ConstraintSegment2* pParentCSeg, bool bFirst);
	void getAliveConstraintChain(ConstraintSegment2* pCSeg, std::vector<ConstraintSegment2*>& vChain);
	const std::set<Point2*>& getSplitVertices() const { return sSplitVertices; }

private:
	void removeDegenerate(std::vector<ConstraintSegment2*>& vCSegments);
	bool checkAndSortPolygon(std::vector<ConstraintSegment2*>& vCSegments);
	void setDirectionsRecursive(const std::vector<ConstraintSegment2*>& vCSegments);
	Point2* getDirectedSrc(ConstraintSegment2* pCSeg) const;
	Point2* getDirectedTrg(ConstraintSegment2* pCSeg) const;
	bool isDelaunayPiece(ConstraintSegment2* pCSeg, Point2*& pOpp0, Point2*& pOpp1);
	Point2 chooseSplitPoint(ConstraintSegment2* pCSeg, Point2* pOpp0, Point2* pOpp1, Point2*& pExistingVertex) const;

	Dt2* pDt2;
	GeomTest* pGeomTest;
	ConstraintInsertionStrategy cis;
	std::vector<ConstraintSegment2*> vCSegParents;
	bool bIsPolygon;
	std::map<ConstraintSegment2*, bool, Func_ltConstraintSegment2> mCSegReverse;
	std::set<Point2*> sSplitVertices;
	bool bIsOriented;
};

} // namespace MIREL25D
