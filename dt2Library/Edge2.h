#pragma once
#include "MirelExportMacro.h"
#include "Triangle2.h"

namespace MIREL25D {

// A half-edge: the side of a triangle opposite corner index, directed
// counterclockwise within that triangle. The neighbour sees the same
// undirected edge as a different Edge2.
class MIREL_API Edge2
{
public:
	Edge2() : pT(nullptr), index(-1) {}
	Edge2(Triangle2* pT_, int index_) : pT(pT_), index(index_) {}

	Point2* getSrc() const { return pT->getCorner(nextIndex(index)); }
	Point2* getTrg() const { return pT->getCorner(prevIndex(index)); }
	void getPoints(Point2*& pSrc, Point2*& pTrg) const
	{
		pSrc = getSrc();
		pTrg = getTrg();
	}
	Triangle2* getTriangle() const { return pT; }
	int getIndex() const { return index; }
	// This side and the neighbour's side of the edge; null and -1 on the border.
	void getTriangles(Triangle2*& pT0, Triangle2*& pT1, int& index0, int& index1) const;
	double getLength2D() const;
	double getLength25D() const;

	bool operator==(const Edge2& other) const { return pT == other.pT && index == other.index; }
	bool operator!=(const Edge2& other) const { return !(*this == other); }
	bool operator<(const Edge2& other) const { return pT < other.pT || (pT == other.pT && index < other.index); }

private:
	Triangle2* pT;
	int index;
};

// An unordered pair of vertices: stored in increasing address order, so that
// (a, b) and (b, a) are the same pair.
class MIREL_API VertexPair2
{
public:
	VertexPair2() : p0(nullptr), p1(nullptr) {}
	VertexPair2(Point2* pA, Point2* pB);

	Point2* getP0() const { return p0; }
	Point2* getP1() const { return p1; }
	double getSqLen2D() const;
	double getSqLen25D() const;
	bool operator==(const VertexPair2& other) const { return p0 == other.p0 && p1 == other.p1; }
	bool operator<(const VertexPair2& other) const { return p0 < other.p0 || (p0 == other.p0 && p1 < other.p1); }

private:
	Point2* p0;
	Point2* p1;
};

} // namespace MIREL25D
