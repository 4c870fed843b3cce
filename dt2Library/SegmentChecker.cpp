#include "SegmentChecker.h"
#include "Color.h"
#include "GeomTest.h"
#include "InputCheck.h"
#include "ListenerTable.h"
#include "Visualizer2.h"
#include "tools.h"
#include <algorithm>
#include <cmath>
#include <iostream>
#include <string>
#include <limits>
#include <memory>
#include <unordered_map>

namespace MIREL25D {

namespace {

struct Box
{
	double minX, minY, maxX, maxY;
	bool meets(const Box& b) const { return !(b.minX > maxX || b.maxX < minX || b.minY > maxY || b.maxY < minY); }
	void extend(const Box& b)
	{
		minX = std::min(minX, b.minX);
		minY = std::min(minY, b.minY);
		maxX = std::max(maxX, b.maxX);
		maxY = std::max(maxY, b.maxY);
	}
};

Box boxOf(const Segment2& seg)
{
	Point2 a(seg.getSrc()), b(seg.getTrg());
	return Box{std::min(a.x(), b.x()), std::min(a.y(), b.y()), std::max(a.x(), b.x()), std::max(a.y(), b.y())};
}

// A static bounding-box tree: the boxes are split at the median of their
// centres along the wider axis until at most leafSize remain. Built once, then
// queried with an explicit stack, so deep or unbalanced inputs cannot overflow
// the call stack.
class BoxTree
{
public:
	void build(const std::vector<Box>& vBoxes_)
	{
		vBoxes = vBoxes_;
		vItems.resize(vBoxes.size());
		for(size_t i = 0; i < vItems.size(); ++i) vItems[i] = i;
		vNodes.clear();
		if(vBoxes.empty()) return;
		vNodes.push_back(Node());
		struct Task { size_t node, begin, end; };
		std::vector<Task> vTasks{{0, 0, vItems.size()}};
		while(!vTasks.empty())
		{
			Task task(vTasks.back());
			vTasks.pop_back();
			Box bbox(vBoxes[vItems[task.begin]]);
			for(size_t i = task.begin + 1; i < task.end; ++i) bbox.extend(vBoxes[vItems[i]]);
			vNodes[task.node].box = bbox;
			if(task.end - task.begin <= leafSize)
			{
				vNodes[task.node].begin = task.begin;
				vNodes[task.node].end = task.end;
				continue;
			}
			bool bSplitX(bbox.maxX - bbox.minX >= bbox.maxY - bbox.minY);
			size_t mid((task.begin + task.end) / 2);
			std::nth_element(vItems.begin() + task.begin, vItems.begin() + mid, vItems.begin() + task.end, [&](size_t a, size_t b) {
				const Box& ba(vBoxes[a]);
				const Box& bb(vBoxes[b]);
				// Halves first: the sum of two huge coordinates would overflow to
				// infinity and lump all such boxes into one side.
				return bSplitX ? 0.5 * ba.minX + 0.5 * ba.maxX < 0.5 * bb.minX + 0.5 * bb.maxX : 0.5 * ba.minY + 0.5 * ba.maxY < 0.5 * bb.minY + 0.5 * bb.maxY;
			});
			size_t left(vNodes.size());
			vNodes.push_back(Node());
			vNodes.push_back(Node());
			vNodes[task.node].left = left;
			vTasks.push_back({left, task.begin, mid});
			vTasks.push_back({left + 1, mid, task.end});
		}
	}

	// Appends the indices of all boxes that meet the query box.
	void query(const Box& q, std::vector<size_t>& vOut, std::vector<size_t>& vStack) const
	{
		if(vNodes.empty()) return;
		vStack.clear();
		vStack.push_back(0);
		while(!vStack.empty())
		{
			const Node& node(vNodes[vStack.back()]);
			vStack.pop_back();
			if(!node.box.meets(q)) continue;
			if(node.left == 0)
			{
				for(size_t i = node.begin; i < node.end; ++i)
				{
					if(vBoxes[vItems[i]].meets(q)) vOut.push_back(vItems[i]);
				}
			}
			else
			{
				vStack.push_back(node.left);
				vStack.push_back(node.left + 1);
			}
		}
	}

private:
	struct Node
	{
		Box box{0, 0, 0, 0};
		size_t left{0}; // children at left and left+1; 0 for a leaf (the root is never a child)
		size_t begin{0}, end{0};
	};
	static const size_t leafSize = 8;
	std::vector<Box> vBoxes;
	std::vector<size_t> vItems;
	std::vector<Node> vNodes;
};

// Lexicographic position of collinear points: on a common line the (x, y)
// order is the order along the line, so these comparisons are exact.
bool isStrictlyBetween(const Point2& a, const Point2& b, const Point2& q)
{
	return (a < q && q < b) || (b < q && q < a);
}

// z of the segment at (x, y), by the parameter along its longer axis.
double heightOnSegment(const Point2& a, const Point2& b, double x, double y)
{
	double dx(b.x() - a.x()), dy(b.y() - a.y());
	if(dx == 0 && dy == 0) return a.z();
	double t(std::fabs(dx) >= std::fabs(dy) ? (x - a.x()) / dx : (y - a.y()) / dy);
	return a.z() + t * (b.z() - a.z());
}

} // namespace

struct SegmentCheckerData
{
	std::vector<Segment2*> vSegments;
	// Segments with a NaN or infinite coordinate take part in no test: the
	// tree holds the others, by their positions in vSegments.
	std::vector<char> vRefused;
	std::vector<size_t> vTreeToSegment;
	std::unordered_map<const Segment2*, size_t> mIndex;
	bool bTreeBuilt{false};
	BoxTree tree;
	std::unique_ptr<GeomTest> pGeomTest{new GeomTest};
	ListenerTable mSubscribers;

	void buildTreeOnce()
	{
		if(bTreeBuilt) return;
		std::vector<Box> vBoxes;
		vBoxes.reserve(vSegments.size());
		for(size_t i = 0; i < vSegments.size(); ++i)
		{
			if(vRefused[i]) continue;
			vBoxes.push_back(boxOf(*vSegments[i]));
			vTreeToSegment.push_back(i);
		}
		tree.build(vBoxes);
		bTreeBuilt = true;
	}

	Orientation2 orient(const Point2& a, const Point2& b, const Point2& c)
	{
		// The segments come without a triangulation that would announce their
		// extent, so the filter bound follows each query.
		pGeomTest->updateStaticBound(&a, &b, &c);
		return pGeomTest->getOrientation2(&a, &b, &c);
	}

	// q on the closed segment ab.
	bool isOnSegment(const Point2& a, const Point2& b, const Point2& q)
	{
		if(q == a || q == b) return true;
		return orient(a, b, q) == ORIENTATION2_COLLINEAR && isStrictlyBetween(a, b, q);
	}

	void publishProgress(double percent)
	{
		mSubscribers.send(MSG_PROGRESS, percent);
	}

	bool classifyDegenerate(const Point2& p1, const Point2& p2, const Point2& p3, const Point2& p4, SegmentIntersectionType& sit);
	SegmentIntersectionType classifySharedEndpoint(const Point2& shared, const Point2& other1, const Point2& other2);
	SegmentIntersectionType classify(const Point2& p1, const Point2& p2, const Point2& p3, const Point2& p4);
	void collectIntersectors(const Segment2* pSeg, bool bAlsoEndPointIntersections, std::vector<size_t>& vCandidates, std::vector<size_t>& vStack,
		std::vector<std::pair<size_t, SegmentIntersectionType> >& vHits);
};

// Zero-length segments are points: a point meets a segment at an endpoint
// (SIT_ENDPOINT) or in its interior (SIT_POINT); two equal points share an
// endpoint. Returns false when neither segment is degenerate.
bool SegmentCheckerData::classifyDegenerate(const Point2& p1, const Point2& p2, const Point2& p3, const Point2& p4, SegmentIntersectionType& sit)
{
	bool bDeg1(p1 == p2), bDeg2(p3 == p4);
	if(!bDeg1 && !bDeg2) return false;
	if(bDeg1 && bDeg2)
	{
		sit = (p1 == p3) ? SIT_ENDPOINT : SIT_NONE;
		return true;
	}
	const Point2& q(bDeg1 ? p1 : p3);
	const Point2& a(bDeg1 ? p3 : p1);
	const Point2& b(bDeg1 ? p4 : p2);
	if(q == a || q == b) sit = SIT_ENDPOINT;
	else if(orient(a, b, q) == ORIENTATION2_COLLINEAR && isStrictlyBetween(a, b, q)) sit = SIT_POINT;
	else sit = SIT_NONE;
	return true;
}

// Two proper segments that share the endpoint 'shared': they overlap exactly
// when the other two endpoints are collinear with it and on the same side.
SegmentIntersectionType SegmentCheckerData::classifySharedEndpoint(const Point2& shared, const Point2& other1, const Point2& other2)
{
	if(other1 == other2) return SIT_SEGMENT; // the same segment twice
	if(orient(shared, other1, other2) != ORIENTATION2_COLLINEAR) return SIT_ENDPOINT;
	bool bSameSide((shared < other1) == (shared < other2));
	return bSameSide ? SIT_SEGMENT : SIT_ENDPOINT;
}

SegmentIntersectionType SegmentCheckerData::classify(const Point2& p1, const Point2& p2, const Point2& p3, const Point2& p4)
{
	SegmentIntersectionType sit(SIT_UNINITIALIZED);
	if(classifyDegenerate(p1, p2, p3, p4, sit)) return sit;
	if(p1 == p3) return classifySharedEndpoint(p1, p2, p4);
	if(p1 == p4) return classifySharedEndpoint(p1, p2, p3);
	if(p2 == p3) return classifySharedEndpoint(p2, p1, p4);
	if(p2 == p4) return classifySharedEndpoint(p2, p1, p3);
	MIREL_ASSERT(p1!=p3 && p1!=p4 && p2!=p3 && p2!=p4);

	Orientation2 o3(orient(p1, p2, p3)), o4(orient(p1, p2, p4));
	if(o3 != ORIENTATION2_COLLINEAR && o4 != ORIENTATION2_COLLINEAR)
	{
		if(o3 == o4) return SIT_NONE;
		Orientation2 o1(orient(p3, p4, p1)), o2(orient(p3, p4, p2));
		if(o1 != ORIENTATION2_COLLINEAR && o2 != ORIENTATION2_COLLINEAR) return o1 != o2 ? SIT_POINT : SIT_NONE;
		// p1 or p2 lies on the line of s2, which crosses the line of s1 there.
		return SIT_POINT;
	}
	if(o3 == ORIENTATION2_COLLINEAR && o4 == ORIENTATION2_COLLINEAR)
	{
		bool bOverlap(isStrictlyBetween(p1, p2, p3) || isStrictlyBetween(p1, p2, p4) || isStrictlyBetween(p3, p4, p1) || isStrictlyBetween(p3, p4, p2));
		return bOverlap ? SIT_SEGMENT : SIT_NONE;
	}
	const Point2& pOnLine(o3 == ORIENTATION2_COLLINEAR ? p3 : p4);
	return isStrictlyBetween(p1, p2, pOnLine) ? SIT_POINT : SIT_NONE;
}

void SegmentCheckerData::collectIntersectors(const Segment2* pSeg, bool bAlsoEndPointIntersections, std::vector<size_t>& vCandidates, std::vector<size_t>& vStack,
	std::vector<std::pair<size_t, SegmentIntersectionType> >& vHits)
{
	buildTreeOnce();
	vCandidates.clear();
	tree.query(boxOf(*pSeg), vCandidates, vStack);
	Point2 p1(pSeg->getSrc()), p2(pSeg->getTrg());
	for(size_t treeIndex : vCandidates)
	{
		size_t j(vTreeToSegment[treeIndex]);
		const Segment2* pOther(vSegments[j]);
		if(pOther == pSeg) continue;
		SegmentIntersectionType sit(classify(p1, p2, pOther->getSrc(), pOther->getTrg()));
		switch(sit)
		{
			case SIT_NONE:
				break;
			case SIT_POINT:
			case SIT_SEGMENT:
				vHits.emplace_back(j, sit);
				break;
			case SIT_ENDPOINT:
				if(bAlsoEndPointIntersections) vHits.emplace_back(j, sit);
				break;
			default:
				sendError("getIntersectors()", "impossible case");
				break;
		}
	}
}

SegmentChecker::SegmentChecker(const std::vector<Segment2*>& vSegments) : pSCD(new SegmentCheckerData)
{
	pSCD->vSegments = vSegments;
	pSCD->mIndex.reserve(vSegments.size());
	for(size_t i = 0; i < vSegments.size(); ++i) pSCD->mIndex.emplace(vSegments[i], i);
	InputCheck check("SegmentChecker::SegmentChecker()", "segment", InputCheck::FINITE);
	pSCD->vRefused.resize(vSegments.size());
	for(size_t i = 0; i < vSegments.size(); ++i) pSCD->vRefused[i] = !check.accept(*vSegments[i]);
	check.report(vSegments.size());
}

namespace {
// The queries that take segments from the caller: each refuses a NaN or
// infinite coordinate with a warning before any predicate sees it.
bool acceptSegments(const char* place, const Segment2& seg1, const Segment2& seg2)
{
	InputCheck check(place, "segment", InputCheck::FINITE);
	bool bAccepted(check.accept(seg1));
	bAccepted = check.accept(seg2) && bAccepted;
	check.report(2);
	return bAccepted;
}
} // namespace

SegmentChecker::SegmentChecker() : pSCD(new SegmentCheckerData) {}

SegmentChecker::~SegmentChecker()
{
	delete pSCD;
}

size_t SegmentChecker::getNumberOfSegments() const
{
	return pSCD->vSegments.size();
}

Segment2* SegmentChecker::getSegment(size_t i) const
{
	MIREL_ASSERT(i<pSCD->vSegments.size());
	return pSCD->vSegments[i];
}

size_t SegmentChecker::getIndex(Segment2* pSeg) const
{
	auto it(pSCD->mIndex.find(pSeg));
	if(it != pSCD->mIndex.end()) return it->second;
	sendError("SegmentChecker::getIndex()", "No such segment");
	return std::numeric_limits<size_t>::max();
}

void SegmentChecker::getIllegalSegments(bool bAlsoEndPointIntersections, std::vector<Segment2*>& vIllegalSegments) const
{
	const std::vector<Segment2*>& vSegments(pSCD->vSegments);
	std::vector<bool> vIllegal(vSegments.size(), false);
	std::vector<size_t> vCandidates, vStack;
	vCandidates.reserve(1000);
	std::vector<std::pair<size_t, SegmentIntersectionType> > vHits;
	size_t progressStep(std::max<size_t>(1, vSegments.size() / 100));
	for(size_t i = 0; i < vSegments.size(); ++i)
	{
		if(i % progressStep == 0 && !pSCD->mSubscribers.empty()) pSCD->publishProgress(100.0 * double(i) / double(vSegments.size()));
		if(vIllegal[i] || pSCD->vRefused[i]) continue;
		vHits.clear();
		pSCD->collectIntersectors(vSegments[i], bAlsoEndPointIntersections, vCandidates, vStack, vHits);
		for(const auto& hit : vHits)
		{
			vIllegal[i] = true;
			vIllegal[hit.first] = true;
		}
	}
	if(!pSCD->mSubscribers.empty()) pSCD->publishProgress(100.0);
	for(size_t i = 0; i < vSegments.size(); ++i)
	{
		if(vIllegal[i]) vIllegalSegments.push_back(vSegments[i]);
	}
}

void SegmentChecker::getIntersectors(Segment2* pTestSegment, bool bAlsoEndPointIntersections, std::vector<std::pair<Segment2*, SegmentIntersectionType> >& vIntersectors) const
{
	if(!InputCheck::acceptOne("SegmentChecker::getIntersectors()", "segment", InputCheck::FINITE, *pTestSegment)) return;
	std::vector<size_t> vCandidates, vStack;
	vCandidates.reserve(1000);
	std::vector<std::pair<size_t, SegmentIntersectionType> > vHits;
	pSCD->collectIntersectors(pTestSegment, bAlsoEndPointIntersections, vCandidates, vStack, vHits);
	for(const auto& hit : vHits) vIntersectors.emplace_back(pSCD->vSegments[hit.first], hit.second);
}

SegmentIntersectionType SegmentChecker::getIntersectionType(const Segment2* pSeg1, const Segment2* pSeg2) const
{
	if(!acceptSegments("SegmentChecker::getIntersectionType()", *pSeg1, *pSeg2)) return SIT_UNINITIALIZED;
	return pSCD->classify(pSeg1->getSrc(), pSeg1->getTrg(), pSeg2->getSrc(), pSeg2->getTrg());
}

std::string SegmentChecker::getIntersectionTypeString(SegmentIntersectionType sit) const
{
	switch(sit)
	{
		case SIT_UNINITIALIZED: return "SIT_UNINITIALIZED";
		case SIT_NONE: return "SIT_NONE";
		case SIT_SEGMENT: return "SIT_SEGMENT";
		case SIT_POINT: return "SIT_POINT";
		case SIT_ENDPOINT: return "SIT_ENDPOINT";
	}
	return "UNKNOWN SIT";
}

bool SegmentChecker::getIntersectionPoint(SegmentIntersectionType sit, const Segment2& seg1, const Segment2& seg2, Point2& ispOnSeg1, Point2& ispOnSeg2) const
{
	if(sit == SIT_ENDPOINT)
	{
		sendError("SegmentChecker::getIntersectionPoint()", "SIT_ENDPOINT is a wrong SegmentIntersectionType for the preset segments");
		return false;
	}
	if(sit != SIT_POINT)
	{
		sendError("SegmentChecker::getIntersectionPoint()", "wrong SegmentIntersectionType provided");
		return false;
	}
	if(!acceptSegments("SegmentChecker::getIntersectionPoint()", seg1, seg2)) return false;
	Point2 a(seg1.getSrc()), b(seg1.getTrg()), c(seg2.getSrc()), d(seg2.getTrg());
	double x, y;
	// A zero-length segment has no line; its point is the common point.
	if(a == b) a.xy(x, y);
	else if(c == d) c.xy(x, y);
	else pSCD->pGeomTest->getIntersectionCoords_gmp_MT(a, b, c, d, x, y);
	ispOnSeg1 = Point2(x, y, heightOnSegment(a, b, x, y));
	ispOnSeg2 = Point2(x, y, heightOnSegment(c, d, x, y));
	return true;
}

bool SegmentChecker::getIntersectionSegment(const Segment2& seg1, const Segment2& seg2, Segment2& issOnSeg1, Segment2& issOnSeg2) const
{
	if(!acceptSegments("SegmentChecker::getIntersectionSegment()", seg1, seg2)) return false;
	Point2 a(seg1.getSrc()), b(seg1.getTrg()), c(seg2.getSrc()), d(seg2.getTrg());
	bool bCollinear(pSCD->orient(a, b, c) == ORIENTATION2_COLLINEAR && pSCD->orient(a, b, d) == ORIENTATION2_COLLINEAR);
	if(!bCollinear || (a == b && c == d && a != c))
	{
		sendError("SegmentChecker::getIntersectionSegment()", "segments seem to be non-collinear");
		return false;
	}
	// On a common line, (x, y) order is line order: the overlap runs from the
	// larger of the two lower ends to the smaller of the two upper ends.
	const Point2& lo1(std::min(a, b)), hi1(std::max(a, b));
	const Point2& lo2(std::min(c, d)), hi2(std::max(c, d));
	Point2 lo(std::max(lo1, lo2)), hi(std::min(hi1, hi2));
	if(hi < lo) return false;
	if(b < a) std::swap(lo, hi); // keep the direction of seg1
	issOnSeg1 = Segment2(Point2(lo.x(), lo.y(), heightOnSegment(a, b, lo.x(), lo.y())), Point2(hi.x(), hi.y(), heightOnSegment(a, b, hi.x(), hi.y())));
	issOnSeg2 = Segment2(Point2(lo.x(), lo.y(), heightOnSegment(c, d, lo.x(), lo.y())), Point2(hi.x(), hi.y(), heightOnSegment(c, d, hi.x(), hi.y())));
	return true;
}

void SegmentChecker::showSegments(const char* name) const
{
	sendRawText("SegmentChecker::showSegments(), numSegments=" + std::to_string(pSCD->vSegments.size()) + "\n");
	Visualizer2 vis(name);
	for(Segment2* pSeg : pSCD->vSegments) vis.addObject(*pSeg, Color(CBLACK));
	vis.writeFile();
}

void SegmentChecker::showIllegalSegments(bool bAlsoEndPointIntersections, const char* name) const
{
	std::vector<Segment2*> vIllegal;
	getIllegalSegments(bAlsoEndPointIntersections, vIllegal);
	std::vector<Segment2*> vSorted(vIllegal);
	std::sort(vSorted.begin(), vSorted.end());
	Visualizer2 vis(name);
	size_t numSegments(pSCD->vSegments.size());
	vis.addHeaderLine(("Number of segments: " + std::to_string(numSegments)).c_str());
	vis.addHeaderLine(("Legal segments: " + std::to_string(numSegments - vIllegal.size())).c_str());
	vis.addHeaderLine(("Illegal segments: " + std::to_string(vIllegal.size())).c_str());
	for(Segment2* pSeg : pSCD->vSegments)
	{
		bool bIllegal(std::binary_search(vSorted.begin(), vSorted.end(), pSeg));
		vis.addObject(*pSeg, bIllegal ? Color(CRED, 0.002f) : Color(CGREEN));
	}
	vis.writeFile();
}

void SegmentChecker::subscribe(MsgType msgType, MsgBase* pListener)
{
	pSCD->mSubscribers.add(msgType, pListener);
}

void SegmentChecker::unsubscribe(MsgType msgType, MsgBase* pListener)
{
	if(pSCD->mSubscribers.empty())
	{
		sendWarning("SegmentChecker::unsubscribe()", "No publisher present");
		return;
	}
	pSCD->mSubscribers.remove(msgType, pListener);
}

} // namespace MIREL25D
