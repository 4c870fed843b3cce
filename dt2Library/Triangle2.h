#pragma once
#include "MirelExportMacro.h"
#include "Point2.h"
#include "tools.h"
#include <iosfwd>
#include <utility>

namespace MIREL25D {

// Index helpers: corners and edges are numbered counterclockwise modulo 3.
inline int nextIndex(int i) { return i == 2 ? 0 : i + 1; }
inline int prevIndex(int i) { return i == 0 ? 2 : i - 1; }

/*
 * A triangle of the mesh: three counterclockwise corners and three neighbours.
 *
 *                 corner 2
 *                    /\
 *     opp. tri. 1   /  \   opp. tri. 0
 *     (edge 1)     /    \  (edge 0)
 *                 /      \
 *        corner 0 -------- corner 1
 *                 opp. tri. 2 (edge 2)
 *
 * Opposite triangle i lies across edge i, the edge from corner i+1 to corner
 * i+2 that does not contain corner i; it is null on the border. Neighbours t
 * and u are linked mutually: t->getOppositeTriangle(i) == u and
 * u->getOppositeTriangle(u->getIntraTriangleIndex(t)) == t.
 *
 * A released triangle has all six pointers null (clearProperties), so corner 0
 * tells whether a pooled triangle is alive.
 */
class MIREL_API Triangle2
{
public:
	Triangle2() : aVertexPointer{nullptr, nullptr, nullptr}, aOppTriangles{nullptr, nullptr, nullptr} {}
	Triangle2(Point2* p0, Point2* p1, Point2* p2, Triangle2* t0 = nullptr, Triangle2* t1 = nullptr, Triangle2* t2 = nullptr)
		: aVertexPointer{p0, p1, p2}, aOppTriangles{t0, t1, t2}
	{}

	Point2* getCorner(int i) const { return aVertexPointer[i]; }
	Triangle2* getOppositeTriangle(int i) const { return aOppTriangles[i]; }
	void setVertexPointer(int i, Point2* p) { aVertexPointer[i] = p; }
	void setOppTriangle(int i, Triangle2* t) { aOppTriangles[i] = t; }

	void setProperties(Point2* p0, Point2* p1, Point2* p2)
	{
		aVertexPointer[0] = p0;
		aVertexPointer[1] = p1;
		aVertexPointer[2] = p2;
		p0->setIncidentTriangle(this);
		p1->setIncidentTriangle(this);
		p2->setIncidentTriangle(this);
		aOppTriangles[0] = aOppTriangles[1] = aOppTriangles[2] = nullptr;
	}
	void setPropertiesAndOppT(Point2* p0, Point2* p1, Point2* p2, Triangle2* t0, Triangle2* t1, Triangle2* t2)
	{
		setProperties(p0, p1, p2);
		aOppTriangles[0] = t0;
		aOppTriangles[1] = t1;
		aOppTriangles[2] = t2;
	}
	void clearProperties()
	{
		aVertexPointer[0] = aVertexPointer[1] = aVertexPointer[2] = nullptr;
		aOppTriangles[0] = aOppTriangles[1] = aOppTriangles[2] = nullptr;
	}
	bool isAlive() const { return aVertexPointer[0] != nullptr; }

	// 1 or 2 if p is corner 1 or 2, else 0: callers guarantee membership
	// (checked in the debug tier).
	int getIntraTriangleIndex(const Point2* p) const
	{
		if(aVertexPointer[1] == p) return 1;
		if(aVertexPointer[2] == p) return 2;
		MIREL_DEBUG_ASSERT(aVertexPointer[0]==p);
		return 0;
	}
	int getIntraTriangleIndex(const Triangle2* t) const
	{
		if(aOppTriangles[1] == t) return 1;
		if(aOppTriangles[2] == t) return 2;
		MIREL_DEBUG_ASSERT(aOppTriangles[0]==t);
		return 0;
	}
	// The edge with end points a and b in either order, or -1 after a message.
	int getIntraTriangleIndex(const Point2* a, const Point2* b) const;

	bool hasVertex(const Point2* p) const { return aVertexPointer[0] == p || aVertexPointer[1] == p || aVertexPointer[2] == p; }
	bool hasVertex(const Point2& p) const;
	// q on the closed edge i (exact predicates).
	bool hasOnEdge(int i, const Point2& q) const;

	double getSquaredEdgeLength2D(int i) const;
	double getSquaredEdgeLength(int i) const { return getSquaredEdgeLength2D(i); }
	double getSquaredEdgeLength25D(int i) const;
	double getMaxSqEdgeLen2D() const;
	int getMaxIndex() const;
	int getMinIndex() const;
	double getArea2D() const;
	double getArea25D() const;
	Point2 getBarycenter() const;
	double getInteriorAngle2D(int i) const;
	double getInteriorAngle25D(int i) const;
	Vector2 getNormalVector() const;
	// Circumcentre and whether it passed the accuracy test.
	std::pair<Point2, bool> getDual() const;

private:
	double computeArea(double len0, double len1, double len2) const;
	bool isAccurateCC(int i, const Point2& cc) const;

	Point2* aVertexPointer[3];
	Triangle2* aOppTriangles[3];
};

MIREL_API std::ostream& operator<<(std::ostream& stream, const Triangle2& t);

// Walks the fan of triangles around a vertex: ++ counterclockwise, -- clockwise.
// At the border it yields null once, then continues from the other end of the fan.
class MIREL_API TriangleAroundVertexIterator
{
public:
	explicit TriangleAroundVertexIterator(const Point2* p);
	TriangleAroundVertexIterator(Point2* p, Triangle2* pT);
	Triangle2* operator*() const { return pCurrentT; }
	TriangleAroundVertexIterator& operator++();
	TriangleAroundVertexIterator& operator--();
	Triangle2* previewNextTriangle() const;
	Triangle2* previewPrevTriangle() const;
	bool operator==(const TriangleAroundVertexIterator& other) const { return pCenter == other.pCenter && pCurrentT == other.pCurrentT; }
	bool operator!=(const TriangleAroundVertexIterator& other) const { return !(*this == other); }

private:
	Triangle2* neighbour(const Triangle2* pT, bool bCCW) const;
	Triangle2* step(bool bCCW) const;

	const Point2* pCenter;
	Triangle2* pCurrentT;
	Triangle2* pPrevT;
};

} // namespace MIREL25D
