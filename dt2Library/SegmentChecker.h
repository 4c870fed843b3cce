#pragma once
#include "MirelExportMacro.h"
#include "MsgBase.h"
#include "Point2.h"
#include "Segment2.h"
#include <string>
#include <utility>
#include <vector>

namespace MIREL25D {

enum SegmentIntersectionType
{
	SIT_UNINITIALIZED = 0, // not computed
	SIT_NONE = 1,          // no common point
	SIT_SEGMENT = 2,       // collinear overlap in more than one point
	SIT_POINT = 3,         // one common point that is not a shared endpoint
	SIT_ENDPOINT = 4       // a shared endpoint and nothing more
};

struct SegmentCheckerData;

// Finds the segments of a set that intersect others, before the set becomes
// constraint input. Works on the segments alone; candidate pairs come from a
// bounding-box tree built at the first query, and every classification is
// decided by exact orientation tests.
class MIREL_API SegmentChecker
{
public:
	explicit SegmentChecker(const std::vector<Segment2*>& vSegments);
	SegmentChecker();
	~SegmentChecker();
	SegmentChecker(const SegmentChecker&) = delete;
	SegmentChecker& operator=(const SegmentChecker&) = delete;

	size_t getNumberOfSegments() const;
	Segment2* getSegment(size_t i) const;
	// The position of pSeg in the input; the largest size_t for a foreign segment.
	size_t getIndex(Segment2* pSeg) const;

	// Segments with a SIT_POINT or SIT_SEGMENT intersection (and SIT_ENDPOINT
	// if bAlsoEndPointIntersections), in input order.
	void getIllegalSegments(bool bAlsoEndPointIntersections, std::vector<Segment2*>& vIllegalSegments) const;
	// The held segments that intersect pTestSegment under the same rule.
	void getIntersectors(Segment2* pTestSegment, bool bAlsoEndPointIntersections, std::vector<std::pair<Segment2*, SegmentIntersectionType> >& vIntersectors) const;

	SegmentIntersectionType getIntersectionType(const Segment2* pSeg1, const Segment2* pSeg2) const;
	std::string getIntersectionTypeString(SegmentIntersectionType sit) const;
	// For SIT_POINT: the common point, with its height taken on each segment.
	bool getIntersectionPoint(SegmentIntersectionType sit, const Segment2& seg1, const Segment2& seg2, Point2& ispOnSeg1, Point2& ispOnSeg2) const;
	// For collinear segments: the overlap, with heights taken on each segment.
	bool getIntersectionSegment(const Segment2& seg1, const Segment2& seg2, Segment2& issOnSeg1, Segment2& issOnSeg2) const;

	// PostScript drawings: all segments; or legal ones and illegal ones in
	// different colours, with the counts in the header.
	void showSegments(const char* name) const;
	void showIllegalSegments(bool bAlsoEndPointIntersections, const char* name) const;

	void subscribe(MsgType msgType, MsgBase* pListener);
	void unsubscribe(MsgType msgType, MsgBase* pListener);

private:
	SegmentCheckerData* pSCD;
};

} // namespace MIREL25D
