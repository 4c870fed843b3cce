#pragma once
#include "MirelExportMacro.h"
#include "Point2.h"
#include <iosfwd>
#include <set>
#include <vector>

namespace MIREL25D {

class ConstraintGraph2;
class ConstraintMgr;
class Dt2;

enum ConstraintInsertionStrategy : int
{
	CIS_CONFORMING_SURFACE_HEIGHT = 0, // conforming; split points take the surface height
	CIS_CONSTRAINED_DELAUNAY = 1,      // constrained; split only at vertices and crossings
	CIS_CONFORMING_SEGMENT_HEIGHT = 2  // conforming; split points take the segment's mean height
};

// One edge that the triangulation must contain, between two of its vertices.
// A segment that cannot stand as one edge is never changed but split: it gets
// two children that meet at the split vertex and becomes dead. The alive leaves
// of the resulting split tree are the pieces that really are edges.
//
// Created and owned only by the constraint manager, one per unordered vertex
// pair, so p0 < p1 by address: source and target say nothing about the
// direction the user gave (the owning graphs keep that).
class MIREL_API ConstraintSegment2
{
public:
	Point2* getSrc() const { return p0; }
	Point2* getTrg() const { return p1; }
	bool isAlive() const { return bAlive && vChildren.empty(); }
	size_t getNumberOfOwners() const { return sOwners.size(); }
	double getAdjacentArea() const { return adjacentArea; }
	void setAdjacentArea(double adjacentArea_) { adjacentArea = adjacentArea_; }

	// Appends the alive leaves below this split segment, first child first.
	void getChildrenRec(std::vector<ConstraintSegment2*>& vChildConstraintSegments);
	// Work lists of pieces: takes pieces from the back of vStack until an alive
	// one comes up, replacing each dead piece by its alive leaves; null once empty.
	static ConstraintSegment2* popAlivePiece(std::vector<ConstraintSegment2*>& vStack);
	void getChildrenAndSplitPoint(ConstraintSegment2*& pCSeg0, ConstraintSegment2*& pCSeg1, Point2*& pSplit);
	// Inserts splitPoint into the triangulation and splits this segment there;
	// null when the point coincides with an endpoint.
	Point2* insertAndSplit(const Point2& splitPoint);
	// insertAndSplit; then the free vertices that quality meshing inserted
	// closer to the new vertex than p0 is are removed, so that a later
	// refinement starts from clean room around the split. False when the
	// point coincides with an endpoint (nothing changes then).
	bool splitAndRemovePrev(const Point2& splitPoint);
	// Splits at an existing vertex, computing no coordinates.
	bool split_combinatorialOnly(Point2* pSplit);
	// The one way a split point of this segment goes into the triangulation:
	// the segment is no constraint meanwhile (the flips around the new vertex
	// may have to cross it) and is one again afterwards, also when the
	// insertion throws. Returns the vertex at the point, new or existing.
	Point2* insertSplitVertex(const Point2& splitPoint);
	bool operator<(const ConstraintSegment2& other) const { return p0 < other.p0 || (p0 == other.p0 && p1 < other.p1); }

	// Internal: used by the constraint manager and the graphs.
	ConstraintSegment2(ConstraintMgr* pMgr_, Point2* p0_, Point2* p1_, ConstraintInsertionStrategy cis_);
	~ConstraintSegment2();
	ConstraintSegment2(const ConstraintSegment2&) = delete;
	ConstraintSegment2& operator=(const ConstraintSegment2&) = delete;
	ConstraintInsertionStrategy getCIS() const { return cis; }
	void addOwnerRecursive(ConstraintGraph2* pOwner);
	void kill() { bAlive = false; }
	// Temporarily unestablished while a crossing point is inserted.
	void setAliveFlag(bool bAlive_) { bAlive = bAlive_; }
	const std::vector<ConstraintSegment2*>& getChildren() const { return vChildren; }

private:
	friend MIREL_API std::ostream& operator<<(std::ostream& stream, const ConstraintSegment2& cseg);
	void createChildren(Point2* pSplit);

	ConstraintMgr* pMgr; // the manager that owns this segment
	int label;
	std::set<ConstraintGraph2*> sOwners;
	Point2* p0;
	Point2* p1;
	ConstraintInsertionStrategy cis;
	bool bAlive;
	std::vector<ConstraintSegment2*> vChildren;
	double adjacentArea;
};

MIREL_API std::ostream& operator<<(std::ostream& stream, const ConstraintSegment2& cseg);

// Internal: takes a segment out of the constraints for the guard's lifetime,
// so that the flips around its split vertex may cross its edge.
class ConstraintUnlock
{
public:
	explicit ConstraintUnlock(ConstraintSegment2* pCSeg_) : pCSeg(pCSeg_) { pCSeg->setAliveFlag(false); }
	~ConstraintUnlock() { pCSeg->setAliveFlag(true); }
	ConstraintUnlock(const ConstraintUnlock&) = delete;
	ConstraintUnlock& operator=(const ConstraintUnlock&) = delete;

private:
	ConstraintSegment2* pCSeg;
};

} // namespace MIREL25D
