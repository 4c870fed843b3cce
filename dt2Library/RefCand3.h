#pragma once
#include "Point2.h"
#include "Triangle2.h"
#include <cstddef>
#include <cstdint>
#include <vector>

namespace MIREL25D {

class Dt2;
class GeomTest;
class MeshGenParams;

// One triangle queued for quality refinement. It remembers the triangle's
// corners, so a candidate whose triangle was destroyed or reused by a later
// insertion is recognised by a pointer comparison and dropped.
class RefCand3
{
public:
	// Walk results besides the index 0..2 of the constraint edge that blocked the way.
	static const int WALK_INSIDE = -1;
	static const int WALK_FAILED = 4;

	// minAngleKey_: the smallest 2.5D angle of pT_ (getMinAngle25D).
	void init(Dt2* pDt_, Triangle2* pT_, double minAngleKey_);
	bool isAlive() const
	{
		return pT->getCorner(0) == aCorners[0] && pT->getCorner(1) == aCorners[1] && pT->getCorner(2) == aCorners[2];
	}
	// Circumcentre, circumradius and the walk towards the circumcentre.
	void initCircumcenterAndWalk(GeomTest* pGeomTest);
	// Walks from the candidate's triangle towards the circumcentre without
	// crossing a constraint edge: -1 when the circumcentre is reached, the index
	// of the blocking constraint edge in the reached triangle, or 4.
	int walkUntilConstraint(GeomTest* pGeomTest);
	// The refinement decision; the edge lengths and the verbose flag are set on the way.
	bool needRefinement(MeshGenParams* pParams, GeomTest* pGeomTest);
	// Whether a size or angle bound asks for work (the decision without the
	// walk): triangles that pass are not queued at all.
	bool hasReason(MeshGenParams* pParams)
	{
		computeEdgeLengths();
		return findReason(pParams) != REASON_NONE;
	}
	bool isSafe(GeomTest* pGeomTest);

	Triangle2* getTriangle() const { return pT; }
	Triangle2* getReachedTriangle() const { return pReachedT; }
	const Point2& getCircumcenter() const { return circumcenter; }
	double getCircumradius() const { return circumradius; }
	int getWalkResult() const { return walkResult; }
	bool isVerbose() const { return bVerbose; }

private:
	enum Reason
	{
		REASON_NONE,
		REASON_EDGE,
		REASON_AREA,
		REASON_GROWTH,
		REASON_ANGLE
	};
	void computeEdgeLengths();
	Reason findReason(MeshGenParams* pParams);
	void reportReason(Reason reason);
	bool isBlocked(MeshGenParams* pParams);
	Reason hitsSizeBound(MeshGenParams* pParams, bool bEdgeBound);
	bool hasSmallConstraintCorner(double minAngleDegree) const;
	void showSituation(const char* suffix) const;

	Dt2* pDt;
	Triangle2* pT;
	Point2* aCorners[3];
	Triangle2* pReachedT;
	Point2 circumcenter;
	bool bDualAccurate;
	double circumradius;
	int32_t walkResult;
	double aSqLen2D[3];
	double aSqLen25D[3];
	double minAngleKey;
	bool bVerbose;
};

// The smallest 2.5D interior angle of pT in degrees: the queue key.
double getMinAngle25D(const Triangle2* pT);

// The candidate queue: worst triangle (smallest angle) first, equal keys in
// insertion order. Only triangles that need work are queued, each as its key
// and the corners that tell whether it is still alive; the full candidate is
// made when it is taken. A binary heap over a reused vector, so that queueing
// allocates nothing once the vector has grown.
class RefCandQueue
{
public:
	struct Entry
	{
		double key;
		uint64_t seq;
		Triangle2* pT;
		Point2* aCorners[3];
		bool isAlive() const { return pT->getCorner(0) == aCorners[0] && pT->getCorner(1) == aCorners[1] && pT->getCorner(2) == aCorners[2]; }
		bool operator<(const Entry& other) const { return key > other.key || (key == other.key && seq > other.seq); }
	};
	RefCandQueue() : seq(0) {}
	void push(double key, Triangle2* pT);
	Entry pop();
	bool empty() const { return vHeap.empty(); }
	size_t size() const { return vHeap.size(); }

private:
	std::vector<Entry> vHeap;
	uint64_t seq;
};

} // namespace MIREL25D
