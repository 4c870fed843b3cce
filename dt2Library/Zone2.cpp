#include "Zone2.h"
#include "ConstraintGraph2.h"
#include "ConstraintSegment2.h"
#include "Dt2.h"
#include "ProgressReporter.h"
#include "Triangle2.h"
#include "Visualizer2.h"
#include "tools.h"
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <set>
#include <sstream>
#include <unordered_map>
#include <utility>

namespace MIREL25D {

namespace {

typedef std::pair<Point2*, Point2*> VertexPairKey;

// Lower address first, so that both directions of an edge give one key.
VertexPairKey makeKey(Point2* a, Point2* b)
{
	return a < b ? VertexPairKey(a, b) : VertexPairKey(b, a);
}

struct VertexPairKeyHash
{
	size_t operator()(const VertexPairKey& key) const
	{
		uint64_t a(reinterpret_cast<uintptr_t>(key.first)), b(reinterpret_cast<uintptr_t>(key.second));
		return size_t((a * 0x9E3779B97F4A7C15ull) ^ (b + 0x7F4A7C159E3779B9ull + (a << 6) + (a >> 2)));
	}
};

bool isResultLocation(ZoneLocation zoneLoc)
{
	return zoneLoc == ZL_UNION_RESULT || zoneLoc == ZL_INTERSECTION_RESULT || zoneLoc == ZL_DIFFERENCE_RESULT || zoneLoc == ZL_SYMDIFF_RESULT;
}

bool isInSorted(const std::vector<Triangle2*>& vSortedT, Triangle2* pT)
{
	return pT != nullptr && std::binary_search(vSortedT.begin(), vSortedT.end(), pT);
}

// Ten-degree bins from 0 to 180 degrees.
class AngleHistogram
{
public:
	AngleHistogram() : aBins{}, numAngles(0) {}
	void add(double angleDeg)
	{
		int bin(angleDeg > 0.0 ? int(std::ceil(angleDeg / 10.0)) - 1 : 0);
		aBins[bin < 0 ? 0 : (bin >= NUM_BINS ? NUM_BINS - 1 : bin)] += 1;
		++numAngles;
	}
	void print(std::ostream& out) const
	{
		for(int b = 0; b < NUM_BINS; ++b)
		{
			double pct(numAngles > 0 ? 100.0 * double(aBins[b]) / double(numAngles) : 0.0);
			out << "  " << std::setw(3) << 10 * b << " - " << std::setw(3) << 10 * (b + 1) << " deg: " << std::setw(10) << aBins[b] << "  (" << std::fixed
				<< std::setprecision(2) << std::setw(6) << pct << " %)\n";
			out.unsetf(std::ios::fixed);
		}
	}

private:
	static const int NUM_BINS = 18;
	size_t aBins[NUM_BINS];
	size_t numAngles;
};

// All live triangles in address order: the pool's blocks in address order,
// each in its own order.
void getAllTrianglesSorted(const Dt2* pDt2, std::vector<Triangle2*>& vTrianglesOut)
{
	std::vector<std::pair<Triangle2*, size_t>> vBlocks;
	pDt2->getTriangleBlocks(vBlocks);
	std::sort(vBlocks.begin(), vBlocks.end());
	vTrianglesOut.reserve(vTrianglesOut.size() + pDt2->numberOfTriangles());
	for(const std::pair<Triangle2*, size_t>& block : vBlocks)
	{
		for(size_t i = 0; i < block.second; ++i)
		{
			if(block.first[i].isAlive()) vTrianglesOut.push_back(block.first + i);
		}
	}
}

// Visited marks of a flood: one bit per place in the triangle pool, found
// from the pool's few blocks, so a flood over a million triangles touches a
// quarter megabyte of marks and allocates nothing per triangle.
class TriangleMarks
{
public:
	explicit TriangleMarks(const Dt2* pDt2)
	{
		std::vector<std::pair<Triangle2*, size_t>> vPoolBlocks;
		pDt2->getTriangleBlocks(vPoolBlocks);
		size_t numPlaces(0);
		for(const std::pair<Triangle2*, size_t>& block : vPoolBlocks)
		{
			vBlocks.push_back(Block{block.first, block.second, numPlaces});
			numPlaces += block.second;
		}
		std::sort(vBlocks.begin(), vBlocks.end(), [](const Block& a, const Block& b) { return a.pFirst < b.pFirst; });
		vBits.assign(numPlaces / 64 + 1, 0);
	}
	// Appends the marked triangles in address order: the blocks are sorted by
	// address and places within a block follow addresses, so no sort is needed.
	void getMarked(std::vector<Triangle2*>& vMarkedOut) const
	{
		for(const Block& block : vBlocks)
		{
			for(size_t offset = 0; offset < block.size; ++offset)
			{
				size_t place(block.firstPlace + offset);
				uint64_t word(vBits[place >> 6]);
				if(word == 0)
				{
					offset += 63 - (place & 63); // skip the rest of an empty word
					continue;
				}
				if(word & (uint64_t(1) << (place & 63))) vMarkedOut.push_back(block.pFirst + offset);
			}
		}
	}
	// Marks pT; true if it was not marked yet.
	bool mark(const Triangle2* pT)
	{
		size_t place(placeOf(pT));
		uint64_t bit(uint64_t(1) << (place & 63));
		if(vBits[place >> 6] & bit) return false;
		vBits[place >> 6] |= bit;
		return true;
	}

private:
	struct Block
	{
		Triangle2* pFirst;
		size_t size;
		size_t firstPlace;
	};
	size_t placeOf(const Triangle2* pT) const
	{
		// The last block whose first triangle is not above pT holds it.
		auto it(std::upper_bound(vBlocks.begin(), vBlocks.end(), pT, [](const Triangle2* p, const Block& b) { return p < b.pFirst; }));
		MIREL_ASSERT(it!=vBlocks.begin());
		--it;
		size_t offset(size_t(pT - it->pFirst));
		MIREL_ASSERT(offset<it->size);
		return it->firstPlace + offset;
	}

	std::vector<Block> vBlocks;
	std::vector<uint64_t> vBits;
};

} // namespace

// Spreading (depth-first, by a reused stack) over triangle neighbours that stops at barrier
// edges (the alive pieces of the zone's bounding graphs).
struct Zone2::FloodFill
{
	FloodFill(ProgressReporter& progress_, const Dt2* pDt2) : progress(progress_), visited(pDt2) {}

	// vBarriers is sorted: a cache-friendly binary search beats hashing here.
	bool isBarrier(Point2* a, Point2* b) const { return !vBarriers.empty() && std::binary_search(vBarriers.begin(), vBarriers.end(), makeKey(a, b)); }
	// Visits pSeed (unless seen before) and all that is reachable from it.
	void spread(Triangle2* pSeed)
	{
		if(!visited.mark(pSeed)) return;
		progress.step();
		vWork.push_back(pSeed);
		while(!vWork.empty())
		{
			Triangle2* pT(vWork.back());
			vWork.pop_back();
			for(int i = 0; i < 3; ++i)
			{
				Triangle2* pNeigh(pT->getOppositeTriangle(i));
				if(pNeigh == nullptr || isBarrier(pT->getCorner(nextIndex(i)), pT->getCorner(prevIndex(i)))) continue;
				if(!visited.mark(pNeigh)) continue;
				progress.step();
				vWork.push_back(pNeigh);
			}
		}
	}

	ProgressReporter& progress;
	std::vector<VertexPairKey> vBarriers;
	TriangleMarks visited;
	std::vector<Triangle2*> vWork;
};

// ======================================================================
// Construction
// ======================================================================

unsigned Zone2::argumentFaults(const std::vector<ConstraintGraph2*>& vGraphs, ZoneLocation loc, ZoneKind kind)
{
	unsigned faults(0);
	if(vGraphs.empty() && kind != ZK_GROW) faults |= AF_EMPTY;
	for(ConstraintGraph2* pGraph : vGraphs)
	{
		if(pGraph == nullptr) faults |= AF_NULL_GRAPH;
		else if(kind != ZK_GROW && !pGraph->isOriented()) faults |= AF_NOT_ORIENTED;
	}
	bool bLocationOk(false);
	switch(kind)
	{
		case ZK_ONE_GRAPH: bLocationOk = loc == ZL_INSIDE || loc == ZL_OUTSIDE || loc == ZL_BOUNDED; break;
		case ZK_GRAPHS: bLocationOk = loc == ZL_INSIDE || loc == ZL_OUTSIDE; break;
		case ZK_GROW: bLocationOk = loc == ZL_GROW; break;
	}
	if(!bLocationOk) faults |= AF_LOCATION;
	return faults;
}

Zone2::Zone2(Dt2* pDt2_, ZoneLocation zoneLoc_) : pDt2(pDt2_), zoneLoc(zoneLoc_)
{
	MIREL_ASSERT(pDt2!=0);
	MIREL_ASSERT(zoneLoc==ZL_GLOBAL || isResultLocation(zoneLoc));
}

Zone2::Zone2(Dt2* pDt2_, ConstraintGraph2* pConstraintGraph, ZoneLocation zoneLoc_) : pDt2(pDt2_), zoneLoc(zoneLoc_)
{
	const char* place("Zone2::Zone2(..)");
	MIREL_ASSERT(pDt2!=0);
	unsigned faults(argumentFaults(std::vector<ConstraintGraph2*>(1, pConstraintGraph), zoneLoc, ZK_ONE_GRAPH));
	if(faults & AF_NULL_GRAPH)
	{
		sendError(place, "The ConstraintGraph is NULL");
		MIREL_ASSERT(pConstraintGraph!=0);
	}
	if(faults & AF_NOT_ORIENTED)
	{
		sendError(place, "The ConstraintGraph is not oriented");
		MIREL_ASSERT(pConstraintGraph->isOriented());
	}
	if(faults & AF_LOCATION)
	{
		std::ostringstream oss;
		oss << "The ZoneLocation for this constructor can only be one of ZL_INSIDE, ZL_OUTSIDE, ZL_BOUNDED. zoneLoc=" << int(zoneLoc);
		sendError(place, oss.str());
		MIREL_ASSERT(zoneLoc==ZL_INSIDE || zoneLoc==ZL_OUTSIDE || zoneLoc==ZL_BOUNDED);
	}
	vConstraintGraphs.push_back(pConstraintGraph);
}

Zone2::Zone2(Dt2* pDt2_, const std::vector<ConstraintGraph2*>& vConstraintGraphs_, ZoneLocation zoneLoc_)
	: pDt2(pDt2_), zoneLoc(zoneLoc_), vConstraintGraphs(vConstraintGraphs_)
{
	const char* place("Zone2::Zone2(..)");
	MIREL_ASSERT(pDt2!=0);
	unsigned faults(argumentFaults(vConstraintGraphs, zoneLoc, ZK_GRAPHS));
	if(faults & AF_EMPTY)
	{
		sendError(place, "vConstraintGraphs is empty");
		MIREL_ASSERT(!vConstraintGraphs.empty());
	}
	if(faults & (AF_NULL_GRAPH | AF_NOT_ORIENTED))
	{
		sendError(place, "One of the ConstraintGraphs is not oriented!");
		for(ConstraintGraph2* pGraph : vConstraintGraphs) MIREL_ASSERT(pGraph!=0 && pGraph->isOriented());
	}
	if(faults & AF_LOCATION)
	{
		sendError(place, "ZoneLocation for this constructor must be ZL_INSIDE or ZL_OUTSIDE!");
		MIREL_ASSERT(zoneLoc==ZL_INSIDE || zoneLoc==ZL_OUTSIDE);
	}
}

Zone2::Zone2(Dt2* pDt2_, const std::vector<ConstraintGraph2*>& vConstraintGraphs_, const std::vector<Point2>& vStartPoints_)
	: pDt2(pDt2_), zoneLoc(ZL_GROW), vConstraintGraphs(vConstraintGraphs_), vStartPoints(vStartPoints_)
{
	MIREL_ASSERT(pDt2!=0);
	for(ConstraintGraph2* pGraph : vConstraintGraphs) MIREL_ASSERT(pGraph!=0);
}

Zone2::~Zone2() {}

void Zone2::addInputZone(Zone2* pInputZone)
{
	MIREL_ASSERT(isResultLocation(zoneLoc));
	MIREL_ASSERT(pInputZone!=0);
	MIREL_ASSERT(vInputZones.size()<2);
	vInputZones.push_back(pInputZone);
}

void Zone2::getInputZones(std::vector<Zone2*>& vInputZonesOut) const
{
	vInputZonesOut.insert(vInputZonesOut.end(), vInputZones.begin(), vInputZones.end());
}

// ======================================================================
// Evaluation of the rule
// ======================================================================

void Zone2::getTriangles(std::vector<Triangle2*>& vTrianglesOut) const
{
	if(!pDt2->hasArea())
	{
		sendWarning("Zone2::getTriangles()", "The triangulation has no area yet");
		return;
	}
	std::vector<Triangle2*> vResult;
	switch(zoneLoc)
	{
		case ZL_GLOBAL:
		{
			// No barriers: the flood from all triangles is all triangles.
			getAllTrianglesSorted(pDt2, vResult);
			break;
		}
		case ZL_INSIDE:
		case ZL_BOUNDED:
		case ZL_OUTSIDE:
		{
			std::vector<Triangle2*> vSeeds;
			initWorkspace(zoneLoc != ZL_OUTSIDE, vSeeds);
			bfsFromWorkspace(vSeeds, vResult);
			break;
		}
		case ZL_GROW:
			growZoneArea(vResult);
			break;
		case ZL_UNION_RESULT:
		case ZL_INTERSECTION_RESULT:
		case ZL_DIFFERENCE_RESULT:
		case ZL_SYMDIFF_RESULT:
			getTriangles_RESULT(vResult);
			break;
		default:
			sendError("Zone2::getTriangles()", "unknown zoneLoc value");
			MIREL_ASSERT(false);
	}
	if(vTrianglesOut.empty()) vTrianglesOut.swap(vResult);
	else vTrianglesOut.insert(vTrianglesOut.end(), vResult.begin(), vResult.end());
}

void Zone2::initWorkspace(bool bInside, std::vector<Triangle2*>& vSeeds) const
{
	if(zoneLoc != ZL_INSIDE && zoneLoc != ZL_OUTSIDE && zoneLoc != ZL_BOUNDED)
	{
		sendError("Zone2::initWorkspace", "Wrong zoneLocation");
		return;
	}
	// The directed ring edges: each alive piece from its directed source to
	// its directed target. For a polygon graph these are the consecutive
	// ring vertices; for an oriented graph of several rings (holes given
	// clockwise) they keep the zone on their left all the same.
	std::vector<VertexPairKey> vDirectedEdges;
	std::unordered_map<VertexPairKey, int, VertexPairKeyHash> mEdgeCount;
	std::vector<ConstraintSegment2*> vParents, vChain;
	for(ConstraintGraph2* pGraph : vConstraintGraphs)
	{
		vParents.clear();
		pGraph->getOriginalConstraintSegments(vParents);
		for(ConstraintSegment2* pParent : vParents)
		{
			vChain.clear();
			pGraph->getAliveConstraintChain(pParent, vChain);
			for(ConstraintSegment2* pPiece : vChain)
			{
				bool bReverse(pGraph->isReverse(pPiece));
				Point2* pSrc(bReverse ? pPiece->getTrg() : pPiece->getSrc());
				Point2* pTrg(bReverse ? pPiece->getSrc() : pPiece->getTrg());
				vDirectedEdges.push_back(VertexPairKey(pSrc, pTrg));
				++mEdgeCount[makeKey(pSrc, pTrg)];
			}
		}
	}
	for(const VertexPairKey& edge : vDirectedEdges)
	{
		// An edge shared by two rings lies between two bounded regions: its
		// sides are seeded, if at all, through the rings' other edges. Seeding
		// it would let the outside variant start inside the neighbouring ring.
		if(mEdgeCount[makeKey(edge.first, edge.second)] > 1) continue;
		Triangle2* pT(bInside ? pDt2->getAdjacentTriangle(edge.first, edge.second) : pDt2->getAdjacentTriangle(edge.second, edge.first));
		if(pT != nullptr) vSeeds.push_back(pT);
	}
}

void Zone2::collectBarriers(FloodFill& fill) const
{
	std::vector<ConstraintSegment2*> vPieces;
	for(ConstraintGraph2* pGraph : vConstraintGraphs) pGraph->getChildConstraintSegments(vPieces);
	fill.vBarriers.reserve(vPieces.size());
	for(ConstraintSegment2* pPiece : vPieces) fill.vBarriers.push_back(makeKey(pPiece->getSrc(), pPiece->getTrg()));
	std::sort(fill.vBarriers.begin(), fill.vBarriers.end());
}

void Zone2::bfsFromWorkspace(std::vector<Triangle2*>& vSeeds, std::vector<Triangle2*>& vTrianglesOut) const
{
	MIREL_ASSERT(zoneLoc==ZL_GLOBAL || zoneLoc==ZL_INSIDE || zoneLoc==ZL_OUTSIDE || zoneLoc==ZL_BOUNDED);
	ProgressReporter progress(mListeners);
	progress.start("ZoneProgress", double(pDt2->numberOfTriangles()));
	FloodFill fill(progress, pDt2);
	collectBarriers(fill);
	for(Triangle2* pSeed : vSeeds) fill.spread(pSeed);
	fill.visited.getMarked(vTrianglesOut);
	progress.finish();
}

void Zone2::growZoneArea(std::vector<Triangle2*>& vTrianglesOut) const
{
	ProgressReporter progress(mListeners);
	progress.start("ZoneProgress", double(pDt2->numberOfTriangles()));
	FloodFill fill(progress, pDt2);
	collectBarriers(fill);
	for(const Point2& startPoint : vStartPoints)
	{
		Triangle2* pStartT(pDt2->locate(startPoint));
		if(pStartT == nullptr)
		{
			sendWarning("Dt2::growZoneArea()", "pStartT==NULL, no triangles");
			continue;
		}
		fill.spread(pStartT);
	}
	fill.visited.getMarked(vTrianglesOut);
	progress.finish();
}

void Zone2::getTriangles_RESULT(std::vector<Triangle2*>& vTrianglesOut) const
{
	MIREL_ASSERT(vInputZones.size()==2);
	std::vector<Triangle2*> vT0, vT1;
	vInputZones[0]->getTriangles(vT0);
	vInputZones[1]->getTriangles(vT1);
	// Every location yields address order already; the check is cheap.
	if(!std::is_sorted(vT0.begin(), vT0.end())) std::sort(vT0.begin(), vT0.end());
	if(!std::is_sorted(vT1.begin(), vT1.end())) std::sort(vT1.begin(), vT1.end());
	std::back_insert_iterator<std::vector<Triangle2*>> out(vTrianglesOut);
	switch(zoneLoc)
	{
		case ZL_UNION_RESULT: std::set_union(vT0.begin(), vT0.end(), vT1.begin(), vT1.end(), out); break;
		case ZL_INTERSECTION_RESULT: std::set_intersection(vT0.begin(), vT0.end(), vT1.begin(), vT1.end(), out); break;
		case ZL_DIFFERENCE_RESULT: std::set_difference(vT0.begin(), vT0.end(), vT1.begin(), vT1.end(), out); break;
		case ZL_SYMDIFF_RESULT: std::set_symmetric_difference(vT0.begin(), vT0.end(), vT1.begin(), vT1.end(), out); break;
		default:
			sendError("Zone2::getTriangles_RESULT()", "Unexpected value");
			MIREL_ASSERT(false);
	}
}

// ======================================================================
// Derived queries
// ======================================================================

size_t Zone2::getNumberOfTriangles() const
{
	std::vector<Triangle2*> vT;
	getTriangles(vT);
	return vT.size();
}

void Zone2::getVertices(std::vector<Point2*>& vVerticesOut) const
{
	std::vector<Triangle2*> vT;
	getTriangles(vT);
	std::vector<Point2*> vVtx;
	vVtx.reserve(3 * vT.size());
	for(Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i) vVtx.push_back(pT->getCorner(i));
	}
	std::sort(vVtx.begin(), vVtx.end());
	vVtx.erase(std::unique(vVtx.begin(), vVtx.end()), vVtx.end());
	vVerticesOut.insert(vVerticesOut.end(), vVtx.begin(), vVtx.end());
}

namespace {
// The summed area of the triangles, each measured by triangleArea (2D or 2.5D).
double sumOfAreas(const std::vector<Triangle2*>& vT, double (Triangle2::*triangleArea)() const)
{
	double area(0.0);
	for(Triangle2* pT : vT) area += (pT->*triangleArea)();
	return area;
}
} // namespace

double Zone2::getArea2D() const
{
	std::vector<Triangle2*> vT;
	getTriangles(vT);
	return sumOfAreas(vT, &Triangle2::getArea2D);
}

double Zone2::getArea25D() const
{
	std::vector<Triangle2*> vT;
	getTriangles(vT);
	return sumOfAreas(vT, &Triangle2::getArea25D);
}

Bbox2 Zone2::getBoundingBox() const
{
	std::vector<Point2*> vVtx;
	getVertices(vVtx);
	Bbox2 box;
	for(Point2* pVtx : vVtx) box.add(*pVtx);
	return box;
}

void Zone2::getBorderEdges(std::vector<Edge2>& vBorderEdgesOut) const
{
	std::vector<Triangle2*> vT;
	getTriangles(vT); // address order: membership by binary search
	for(Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i)
		{
			if(!isInSorted(vT, pT->getOppositeTriangle(i))) vBorderEdgesOut.push_back(Edge2(pT, i));
		}
	}
}

void Zone2::getBoundaryEdges(std::vector<Edge2>& vBoundaryEdgesOut) const
{
	getBorderEdges(vBoundaryEdgesOut);
}

void Zone2::getBoundarySegments(std::vector<Segment2>& vBoundarySegmentsOut) const
{
	std::vector<Edge2> vEdges;
	getBorderEdges(vEdges);
	for(const Edge2& edge : vEdges) vBoundarySegmentsOut.push_back(Segment2(*edge.getSrc(), *edge.getTrg()));
}

ConstraintGraph2* Zone2::getConstraintGraph() const
{
	if(vConstraintGraphs.size() > 1)
	{
		sendWarning("Zone2::getConstraintGraph()", "There is more than one constraint graph, use Zone2::getConstraintGraphs() instead. Returning NULL");
		return nullptr;
	}
	return vConstraintGraphs.empty() ? nullptr : vConstraintGraphs[0];
}

void Zone2::getConstraintGraphs(std::vector<ConstraintGraph2*>& vConstraintGraphsOut) const
{
	vConstraintGraphsOut.insert(vConstraintGraphsOut.end(), vConstraintGraphs.begin(), vConstraintGraphs.end());
}

Zone2* Zone2::convertToBoundedZone()
{
	std::vector<Segment2> vBorder;
	getBoundarySegments(vBorder);
	if(vBorder.empty())
	{
		sendWarning("Zone2::convertToBoundedZone()", "No triangles available, returning NULL");
		return nullptr;
	}
	// Each border edge is directed counterclockwise in its zone triangle, so
	// the zone lies to the left of every segment of the oriented graph.
	ConstraintGraph2* pGraph(pDt2->createConstraint(vBorder, CIS_CONSTRAINED_DELAUNAY, true));
	if(pGraph == nullptr) return nullptr;
	return pDt2->createZone(pGraph, ZL_BOUNDED, false);
}

// ======================================================================
// Reports and drawing
// ======================================================================

void Zone2::statistics(const char* statName) const
{
	std::vector<Triangle2*> vT;
	getTriangles(vT);
	AngleHistogram interior;
	for(Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i) interior.add(pT->getInteriorAngle2D(i));
	}
	std::ostringstream oss;
	oss << "\n\n\n********* ZONE STATISTICS (" << (statName == nullptr ? "" : statName) << ") **********\n\n";
	oss << "Number of triangles: " << vT.size() << "\n\n";
	oss << "INTERIOR ANGLES\n";
	interior.print(oss);
	sendRawText(oss.str());
	analyzeAngles(statName);
}

void Zone2::analyzeAngles(const char* name) const
{
	std::vector<Triangle2*> vT;
	getTriangles(vT);
	AngleHistogram dihedral;
	for(Triangle2* pT : vT)
	{
		for(int i = 0; i < 3; ++i)
		{
			Triangle2* pNeigh(pT->getOppositeTriangle(i));
			// Each inner edge once, from its lower-address triangle.
			if(pNeigh == nullptr || pNeigh < pT || !isInSorted(vT, pNeigh)) continue;
			double cosAngle(pT->getNormalVector() * pNeigh->getNormalVector());
			cosAngle = std::max(-1.0, std::min(1.0, cosAngle));
			dihedral.add(std::acos(cosAngle) * 180.0 / MIREL_PI);
		}
	}
	std::ostringstream oss;
	oss << "\nDIHEDRAL ANGLES (" << (name == nullptr ? "" : name) << ")\n";
	dihedral.print(oss);
	sendRawText(oss.str());
}

void Zone2::show(const char* postscriptFilename, bool bShowFull) const
{
	Visualizer2 visualizer(postscriptFilename);
	show(&visualizer, bShowFull);
	visualizer.writeFile();
}

void Zone2::show(Visualizer2* pVisualizer, bool bShowFull) const
{
	if(pVisualizer == nullptr) return;
	if(bShowFull && pDt2->hasArea())
	{
		std::vector<Triangle2*> vAllT;
		pDt2->getTrianglePointers(vAllT);
		pVisualizer->addObject(vAllT, Color(CGRAY));
	}
	std::vector<Triangle2*> vT;
	getTriangles(vT);
	pVisualizer->addObject(vT, Color(CLIGHTBLUE, 0.001f, true));
	std::vector<ConstraintSegment2*> vPieces;
	for(ConstraintGraph2* pGraph : vConstraintGraphs) pGraph->getChildConstraintSegments(vPieces);
	for(ConstraintSegment2* pPiece : vPieces) pVisualizer->addObject(Segment2(*pPiece->getSrc(), *pPiece->getTrg()), Color(CRED, 0.002f));
}

void Zone2::subscribe(MsgType msgType, MsgBase* pListener)
{
	mListeners.add(msgType, pListener);
}

void Zone2::unsubscribe(MsgType msgType, MsgBase* pListener)
{
	mListeners.remove(msgType, pListener);
}

// ======================================================================
// Set operations and peeling
// ======================================================================

UserPredicateT::~UserPredicateT() {}

namespace {

Zone2* makeResultZone(Zone2* pZone0, Zone2* pZone1, ZoneLocation resultLoc, const char* heading)
{
	if(pZone0 == nullptr || pZone1 == nullptr)
	{
		sendWarning(heading, "pZone0==NULL or pZone1==NULL, returning NULL");
		return nullptr;
	}
	Dt2* pDt2(pZone0->getDelaunayTriangulation());
	if(pDt2 != pZone1->getDelaunayTriangulation())
	{
		sendWarning(heading, "The zones must belong to the same triangulation! Returning NULL");
		return nullptr;
	}
	Zone2* pResult(pDt2->createZone(static_cast<ConstraintGraph2*>(nullptr), resultLoc, false));
	if(pResult == nullptr) return nullptr;
	pResult->addInputZone(pZone0);
	pResult->addInputZone(pZone1);
	return pResult;
}

void printZoneFigures(const std::vector<Triangle2*>& vT, const Zone2* pZone)
{
	std::ostringstream oss;
	oss << " numT=" << vT.size() << " area2D=" << pZone->getArea2D() << " area25D=" << pZone->getArea25D() << "\n";
	sendRawText(oss.str());
}

} // namespace

Zone2* zoneUnion(Zone2* pZone0, Zone2* pZone1)
{
	return makeResultZone(pZone0, pZone1, ZL_UNION_RESULT, "Zone2::zoneUnion(...)");
}

// The three siblings report under the union's heading; users match on it.
Zone2* zoneIntersection(Zone2* pZone0, Zone2* pZone1)
{
	return makeResultZone(pZone0, pZone1, ZL_INTERSECTION_RESULT, "zoneUnion(...)");
}

Zone2* zoneDifference(Zone2* pZone0, Zone2* pZone1)
{
	return makeResultZone(pZone0, pZone1, ZL_DIFFERENCE_RESULT, "zoneUnion(...)");
}

Zone2* zoneSymmetricDifference(Zone2* pZone0, Zone2* pZone1)
{
	return makeResultZone(pZone0, pZone1, ZL_SYMDIFF_RESULT, "zoneUnion(...)");
}

Zone2* peelOffIf(Zone2* pZone, UserPredicateT* pPredicate, bool bVerbose)
{
	const char* place("peelOffIf()");
	if(pZone == nullptr)
	{
		sendWarning(place, "Input zone is NULL, returning NULL");
		return nullptr;
	}
	MIREL_ASSERT(pPredicate!=0);
	std::vector<Triangle2*> vT;
	pZone->getTriangles(vT);
	if(bVerbose)
	{
		sendRawText("\nZone2::peelOffIf(), original Zone:");
		printZoneFigures(vT, pZone);
	}
	if(vT.empty())
	{
		sendWarning(place, "Input zone is empty, returning NULL");
		return nullptr;
	}
	std::set<Triangle2*> sT(vT.begin(), vT.end());
	std::vector<Triangle2*> vStack(vT);
	while(!vStack.empty())
	{
		Triangle2* pT(vStack.back());
		vStack.pop_back();
		if(sT.count(pT) == 0) continue; // peeled after it was pushed again
		int numInside(0);
		for(int i = 0; i < 3; ++i)
		{
			Triangle2* pNeigh(pT->getOppositeTriangle(i));
			if(pNeigh == nullptr || sT.count(pNeigh) == 0) break;
			++numInside;
		}
		if(numInside == 3) continue; // interior: asked once it is exposed
		if(!(*pPredicate)(pT)) continue;
		sT.erase(pT);
		for(int i = 0; i < 3; ++i)
		{
			Triangle2* pNeigh(pT->getOppositeTriangle(i));
			if(pNeigh != nullptr && sT.count(pNeigh) > 0) vStack.push_back(pNeigh);
		}
	}
	if(sT.empty()) return nullptr;
	std::vector<Triangle2*> vRemaining(sT.begin(), sT.end());
	Zone2* pResult(pZone->getDelaunayTriangulation()->createZone(vRemaining, bVerbose));
	if(bVerbose && pResult != nullptr)
	{
		std::vector<Triangle2*> vResultT;
		pResult->getTriangles(vResultT);
		sendRawText("Output Zone:");
		printZoneFigures(vResultT, pResult);
	}
	return pResult;
}

} // namespace MIREL25D
