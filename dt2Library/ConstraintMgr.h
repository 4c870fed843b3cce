#pragma once
#include "ConstraintGraph2.h"
#include "ConstraintSegment2.h"
#include "MirelExportMacro.h"
#include "Segment2.h"
#include <cstdint>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace MIREL25D {

class Dt2;
class Triangle2;

// Owns every constraint segment and graph of one triangulation and answers
// whether an edge or vertex belongs to a constraint. The flip loop asks for
// every flip, so a negative answer must be cheap: no segment at all is one
// test, and from 10000 vertices on a bitmap over vertex addresses rejects
// most edges with two bit tests before the map is consulted.
class MIREL_API ConstraintMgr
{
public:
	explicit ConstraintMgr(Dt2* pDt2_);
	~ConstraintMgr();
	ConstraintMgr(const ConstraintMgr&) = delete;
	ConstraintMgr& operator=(const ConstraintMgr&) = delete;

	// The segment of the unordered pair, created and registered if new.
	ConstraintSegment2* addConstraintSegment(Point2* p0, Point2* p1, ConstraintInsertionStrategy cis);
	ConstraintGraph2* createConstraint(std::vector<Segment2>& vSegments, ConstraintInsertionStrategy cis, bool orientedSegments);
	// Establishes one segment (or the alive pieces of a split one) by its strategy.
	// False when the insertion ran out of numeric accuracy.
	bool apply(ConstraintSegment2* pCSeg);
	// Establishes every graph, for graphs created before the first triangle.
	void applyAll();
	// After a split: the parent keeps its entry, the children's pairs are registered.
	void updateConstraintSegment(ConstraintSegment2* pParentCSeg, ConstraintSegment2* pCSeg0, ConstraintSegment2* pCSeg1);

	// The input segment a piece descends from (the segment itself for an
	// input segment). Crossings are computed on input segments, so that the
	// rounding of earlier crossings never feeds into later ones.
	ConstraintSegment2* getInputSegment(ConstraintSegment2* pCSeg) const
	{
		auto it(mInputSegment.find(pCSeg));
		return it == mInputSegment.end() ? pCSeg : it->second;
	}
	// A new child takes the input segment of its parent; a piece that already
	// existed keeps its own.
	void inheritInputSegment(ConstraintSegment2* pParent, ConstraintSegment2* pChild);

	// Splitting pCSeg at pSplit keeps the split trees trees: no child pair is
	// an existing segment with pCSeg in its own split tree.
	bool canSplitAt(ConstraintSegment2* pCSeg, Point2* pSplit) const;

	bool hasConstraintSegments() const { return !mPPCSeg.empty(); }
	bool isConstraint(Point2* p0, Point2* p1) const
	{
		if(mPPCSeg.empty()) return false;
		if(pFilter != nullptr && (!filterHas(p0) || !filterHas(p1))) return false;
		return isConstraintSlow(p0, p1);
	}
	bool isConstraint(Point2* p) const;
	bool isConstraint(Triangle2* pT, int ith) const;
	ConstraintSegment2* getConstraintSegment(Point2* p0, Point2* p1) const;
	void getAliveConstraintSegments(std::vector<ConstraintSegment2*>& vAliveConstraintSegments) const;
	void getAliveAndDeadConstraintSegments(std::vector<ConstraintSegment2*>& vAllConstraintSegments) const;
	void getConstraintGraphs(std::vector<ConstraintGraph2*>& vConstraintGraphs) const;
	size_t numberOfConstraintSegments() const { return mPPCSeg.size(); }

	// One line per alive piece of each graph: x0 y0 z0 x1 y1 z1, tab separated,
	// in "<prefix>_c<i>.con".
	bool writeConstraints(const char* prefix) const;
	// The same pieces in "<prefix>_con.bin": per piece six little-endian doubles,
	// after a uint64 piece count.
	bool writeConstraintsBIN(const char* prefix) const;

	Dt2* getDt2() const { return pDt2; }
	// The triangle that holds the directed edge p0 -> p1, or null.
	Triangle2* findTriangleWithDirectedEdge(Point2* p0, Point2* p1) const;

	struct PairHash
	{
		size_t operator()(const std::pair<Point2*, Point2*>& pp) const
		{
			uint64_t a(reinterpret_cast<uintptr_t>(pp.first)), b(reinterpret_cast<uintptr_t>(pp.second));
			return size_t((a * 0x9E3779B97F4A7C15ull) ^ (b + 0x7F4A7C159E3779B9ull + (a << 6) + (a >> 2)));
		}
	};

private:
	static size_t filterBit(const Point2* p) { return (reinterpret_cast<uintptr_t>(p) >> 5) & 0x3ffff; }
	bool filterHas(const Point2* p) const { return (pFilter[filterBit(p) >> 3] >> (filterBit(p) & 7)) & 1; }
	void filterAdd(const Point2* p) { pFilter[filterBit(p) >> 3] |= uint8_t(1u << (filterBit(p) & 7)); }
	void createFilterIfLarge() const;
	bool isConstraintSlow(Point2* p0, Point2* p1) const;
	void restoreConforming();
	void getAlivePieces(const ConstraintGraph2* pGraph, std::vector<ConstraintSegment2*>& vPieces) const;

	std::unordered_map<std::pair<Point2*, Point2*>, ConstraintSegment2*, PairHash> mPPCSeg;
	std::set<Point2*> sConstraintVertices;
	std::unordered_map<ConstraintSegment2*, ConstraintSegment2*> mInputSegment; // piece -> input segment
	std::unordered_set<ConstraintSegment2*> sInputSegments;
	Dt2* pDt2;
	std::vector<ConstraintGraph2*> vGraphs;
	mutable uint8_t* pFilter; // 32768 bytes once the triangulation is large
	bool bConformingExist; // conforming pieces need a Delaunay check after each batch
};

} // namespace MIREL25D
