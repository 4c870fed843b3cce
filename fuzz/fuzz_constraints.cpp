// Constraint segments of every kind (crossing, overlapping, collinear built in
// doubles, duplicated, zero-length, through vertices, with refused ends) under
// the three strategies, interleaved with insertions and removal attempts. The
// invariants: a valid mesh whose non-constraint edges are locally Delaunay;
// every alive piece is an edge; no two alive pieces cross or overlap; the
// alive pieces below each split segment form a chain from its source to its
// target; every input segment has its constraint segment.
#include "FuzzSupport.h"
#include "SegmentChecker.h"

using namespace fuzz;

namespace {
bool isAccepted(const Point2& p)
{
	return std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z()) && std::fabs(p.x()) <= 1e300 && std::fabs(p.y()) <= 1e300;
}

Point2 decodeEnd(Bytes& in, const std::vector<Point2>& vKnown)
{
	if(vKnown.size() >= 2)
	{
		switch(in.below(6))
		{
			case 0:
			case 1: return vKnown[in.below(uint32_t(vKnown.size()))]; // at a vertex
			case 2: // on the line through two points, built in doubles
			{
				const Point2& a(vKnown[in.below(uint32_t(vKnown.size()))]);
				const Point2& b(vKnown[in.below(uint32_t(vKnown.size()))]);
				double t(double(int(in.below(9)) - 2) / 4.0);
				return Point2(a.x() + t * (b.x() - a.x()), a.y() + t * (b.y() - a.y()), a.z());
			}
			default: break;
		}
	}
	return in.point(in.below(16) != 0);
}

// bPiecesAreEdges: false after the library gave up a constraint for lack of
// double precision, which may leave pieces that are no edges.
void checkPieces(Mirel_2D& dt, bool bPiecesAreEdges)
{
	std::vector<ConstraintSegment2*> vAlive, vAll;
	dt.getAliveConstraintSegments(vAlive);
	dt.getAliveAndDeadConstraintSegments(vAll);
	for(ConstraintSegment2* pCSeg : vAlive)
	{
		FUZZ_CHECK(pCSeg->isAlive());
		FUZZ_CHECK(!bPiecesAreEdges || dt.getAdjacentTriangle(pCSeg->getSrc(), pCSeg->getTrg()) != nullptr ||
			dt.getAdjacentTriangle(pCSeg->getTrg(), pCSeg->getSrc()) != nullptr);
	}
	for(size_t i = 0; i < vAlive.size(); ++i)
		for(size_t j = i + 1; j < vAlive.size(); ++j)
		{
			const Point2 &a(*vAlive[i]->getSrc()), &b(*vAlive[i]->getTrg()), &c(*vAlive[j]->getSrc()), &d(*vAlive[j]->getTrg());
			int o1(exactOrientation(a, b, c)), o2(exactOrientation(a, b, d)), o3(exactOrientation(c, d, a)), o4(exactOrientation(c, d, b));
			FUZZ_CHECK(!(o1 * o2 < 0 && o3 * o4 < 0)); // a proper crossing
			if(o1 == 0 && o2 == 0)
			{
				// Collinear: they may touch at one end, never share a stretch.
				Point2 lo1(std::min(a, b)), hi1(std::max(a, b)), lo2(std::min(c, d)), hi2(std::max(c, d));
				FUZZ_CHECK(!(std::max(lo1, lo2) < std::min(hi1, hi2)));
			}
		}
	for(ConstraintSegment2* pCSeg : vAll)
	{
		if(pCSeg->isAlive()) continue;
		std::vector<ConstraintSegment2*> vLeaves;
		pCSeg->getChildrenRec(vLeaves);
		if(vLeaves.empty()) continue; // killed, not split
		// An Euler path from source to target through the leaves.
		std::map<Point2*, int> mDegree;
		for(ConstraintSegment2* pLeaf : vLeaves)
		{
			++mDegree[pLeaf->getSrc()];
			++mDegree[pLeaf->getTrg()];
		}
		for(const auto& entry : mDegree)
		{
			bool bEnd(entry.first == pCSeg->getSrc() || entry.first == pCSeg->getTrg());
			FUZZ_CHECK(entry.second == (bEnd ? 1 : 2));
		}
		FUZZ_CHECK(mDegree.count(pCSeg->getSrc()) == 1 && mDegree.count(pCSeg->getTrg()) == 1);
	}
}
// The checker's illegal segments are exactly those that another segment
// meets by its own pairwise answer; refused segments meet nothing.
void checkSegmentChecker(std::vector<Segment2>& vSegments)
{
	std::vector<Segment2*> vPointers;
	for(Segment2& seg : vSegments) vPointers.push_back(&seg);
	SegmentChecker checker(vPointers);
	std::vector<Segment2*> vIllegal;
	checker.getIllegalSegments(true, vIllegal);
	std::set<Segment2*> sIllegal(vIllegal.begin(), vIllegal.end()), sExpected;
	for(size_t i = 0; i < vPointers.size(); ++i)
		for(size_t j = i + 1; j < vPointers.size(); ++j)
		{
			SegmentIntersectionType sit(checker.getIntersectionType(vPointers[i], vPointers[j]));
			if(sit == SIT_UNINITIALIZED) continue; // a refused segment
			if(sit != SIT_NONE)
			{
				sExpected.insert(vPointers[i]);
				sExpected.insert(vPointers[j]);
			}
		}
	FUZZ_CHECK(sIllegal == sExpected);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
	QuietStdout quiet;
	Bytes in(data, size);
	Mirel_2D dt(50);
	std::vector<Point2> vKnown, vFirst; // the places that must be vertices
	for(size_t i = 0, n = 3 + in.below(30); i < n; ++i) vFirst.push_back(in.point());
	dt.insert(vFirst);
	for(const Point2& p : vFirst)
		if(isAccepted(p)) vKnown.push_back(p);
	std::vector<Segment2> vAllSegments;
	for(int round = 0; round < 3 && !in.empty(); ++round)
	{
		std::vector<Segment2> vSegments;
		for(size_t i = 0, n = 1 + in.below(8); i < n; ++i)
		{
			Point2 a(decodeEnd(in, vKnown));
			Point2 b(in.below(10) == 0 ? a : decodeEnd(in, vKnown));
			vSegments.push_back(Segment2(a, b));
			if(in.below(8) == 0) vSegments.push_back(Segment2(b, a)); // the same segment again
		}
		checkSegmentChecker(vSegments);
		ConstraintInsertionStrategy cis(ConstraintInsertionStrategy(in.below(3)));
		dt.createConstraint(vSegments, cis, in.below(2) == 1);
		for(const Segment2& seg : vSegments)
		{
			if(!isAccepted(seg.getSrc()) || !isAccepted(seg.getTrg())) continue;
			vKnown.push_back(seg.getSrc());
			vKnown.push_back(seg.getTrg());
			vAllSegments.push_back(seg);
		}
		// More points, and an attempt to remove a vertex (refused on constraints).
		for(size_t i = 0, n = in.below(4); i < n; ++i)
		{
			Point2 p(in.point());
			dt.insert(p);
			if(isAccepted(p)) vKnown.push_back(p);
		}
		std::vector<Point2*> vVtx;
		dt.getVertexPointers(vVtx);
		if(!vVtx.empty() && in.below(2) == 0)
		{
			Point2* pVtx(vVtx[in.below(uint32_t(vVtx.size()))]);
			Point2 gone(*pVtx);
			bool bConstraintVertex(dt.isConstraint(pVtx));
			dt.remove(pVtx);
			if(!bConstraintVertex) vKnown.erase(std::remove(vKnown.begin(), vKnown.end(), gone), vKnown.end());
		}

		// Every known place is a vertex; the structure is sound.
		std::vector<Point2> vPlaces;
		vVtx.clear(); // the query appends
		dt.getVertexPointers(vVtx);
		for(Point2* pV : vVtx) vPlaces.push_back(*pV);
		std::set<Point2> sPlaces(vPlaces.begin(), vPlaces.end());
		for(const Point2& p : vKnown)
		{
			if(sPlaces.count(p) == 0)
			{
				std::cerr.precision(17);
				std::cerr << "no vertex at " << p.x() << " " << p.y() << "; vertices:";
				for(const Point2& q : sPlaces) std::cerr << " (" << q.x() << " " << q.y() << ")";
				std::cerr << std::endl;
			}
			FUZZ_CHECK(sPlaces.count(p) == 1);
		}
		const bool bPiecesAreEdges(!quiet.libraryGaveUp());
		validate(dt, vPlaces, true, bPiecesAreEdges);
		if(!dt.hasArea()) continue;
		checkPieces(dt, bPiecesAreEdges);
		std::map<Point2, Point2*> mVtx;
		for(Point2* pV : vVtx) mVtx[*pV] = pV;
		// Alive, or dead and split into a chain (checked above).
		std::vector<ConstraintSegment2*> vAll;
		dt.getAliveAndDeadConstraintSegments(vAll);
		std::set<std::pair<Point2*, Point2*>> sPairs;
		for(ConstraintSegment2* pCSeg : vAll) sPairs.insert(std::make_pair(pCSeg->getSrc(), pCSeg->getTrg()));
		for(const Segment2& seg : vAllSegments)
		{
			if(seg.getSrc() == seg.getTrg()) continue;
			Point2 *pA(mVtx[seg.getSrc()]), *pB(mVtx[seg.getTrg()]);
			FUZZ_CHECK(sPairs.count(std::make_pair(std::min(pA, pB), std::max(pA, pB))) == 1);
		}
	}
	return 0;
}
