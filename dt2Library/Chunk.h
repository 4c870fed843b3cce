#pragma once
#include "Bbox2.h"
#include "Point2.h"
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace MIREL25D {

class Dt2;
class InlineGeomTest;
class Triangle2;

/*
 * One unit of work of the parallel insertion: a range [first, last) of the
 * dense vertices, spatially compact because the batch is in Hilbert order.
 * A worker inserts the range into the shared mesh while no other running
 * chunk has an extended box that intersects this chunk's box.
 *
 * Why no two running chunks touch the same memory
 * ------------------------------------------------
 * A chunk modifies a triangle (rewrites its corners and neighbours) only if
 * the triangle lies in the chunk's closed extended box, and it steps into a
 * triangle during the walk only if that triangle lies in the box too; both
 * are checked before the triangle is touched (see BoxGuard and
 * BoxFlipPolicy). Besides, it reads and relinks the neighbours of such
 * triangles, and writes the incident-triangle pointers of their corners.
 * Take two running chunks A and B with disjoint closed boxes:
 * - A triangle modified or walked by A lies in box(A); if B modified or
 *   walked it, it would also lie in box(B), and the boxes would intersect.
 * - If B only reads or relinks a neighbour x of its own in-box triangle y
 *   while A modifies or walks x (x in box(A)): x and y share an edge, whose
 *   end points then lie in both boxes.
 * - If both only read or relink x, as a neighbour of in-box triangles y_A and
 *   y_B: across one edge y_A == y_B is in both boxes; across two edges the
 *   edges share a corner of x, which lies in both boxes. (Relinking writes a
 *   different neighbour slot than the other chunk reads, but the lookup of
 *   the slot reads all three, so this case matters.)
 * - An incident-triangle pointer is written only for a corner of a modified
 *   triangle, so that vertex lies in the writer's box. The start of a chunk
 *   reads it only for a vertex in its own box, and the triangle it names
 *   contains that vertex, so a concurrent writer of either would intersect.
 * Chunks that intersect run one after the other; the scheduler's mutex orders
 * their accesses. Coordinates are not written while chunks run.
 *
 * The box is an estimate made on the coarse mesh before any chunk runs
 * (determineExtBox); the mesh a chunk meets later also holds the vertices of
 * chunks that ran before it. Where the estimate is too small for a vertex
 * (its walk or one of its flips would leave the box), the changes made for it
 * are undone and the vertex is left to the sequential pass after the workers
 * end, so the rule above holds in every case and only the speed depends on
 * the box.
 */
class Chunk
{
public:
	Chunk(Dt2* pDt_, InlineGeomTest* pGeomTest_, size_t chunkIndex_, std::vector<Point2*>* pvDenseVtx_, size_t first_, size_t last_);
	Chunk(const Chunk&) = delete;
	Chunk& operator=(const Chunk&) = delete;

	// Grows the box over the circumcircles of the coarse triangles that hold
	// the chunk's vertices (first pass) and of their neighbours (second pass),
	// clipped to clipBox. The coarse mesh must not change meanwhile.
	void determineExtBox(Triangle2* pStartT, const Bbox2& clipBox);
	const Bbox2& getExtBox() const { return extBox; }
	size_t getIndex() const { return chunkIndex; }
	size_t size() const { return last - first; }

	// Worker side: inserts the range (fresh triangles must have been handed
	// in with takeFreshTriangles).
	void run();
	void takeFreshTriangles(std::vector<Triangle2*>& vT)
	{
		vFreshT.swap(vT);
		numFreshUsed = 0;
	}
	// After the run: unused triangles, duplicates found and vertices left to
	// the sequential pass.
	void getUnusedTriangles(std::vector<Triangle2*>& vUnusedT) const { vUnusedT.assign(vFreshT.begin() + long(numFreshUsed), vFreshT.end()); }
	const std::vector<std::pair<Point2*, Point2*>>& getDuplicates() const { return vDuplicates; }
	const std::vector<Point2*>& getDeferred() const { return vDeferred; }
	// A triangle near the chunk's last insertion, valid after the workers ended.
	Triangle2* getLastTriangle() const { return pFinalT; }

	int32_t state; // 0 waiting, 1 running, 2 done

private:
	bool isInBox(const Point2* p) const
	{
		return p->x() >= minX && p->x() <= maxX && p->y() >= minY && p->y() <= maxY;
	}
	bool isInBox(const Triangle2* pT) const;
	void growByCircumcircle(const Triangle2* pT, const char* accuracyMessage);
	// A triangle in the box incident to one of the start vertices, or null.
	Triangle2* findStartTriangle() const;

	// The local insertion: the sequential algorithms, confined to the box.
	// Middle-first recursion over [lo, hi) of the dense list, as the
	// sequential batch insertion; returns a triangle near the last insertion.
	Triangle2* localTriangulateRec(size_t lo, size_t hi, Triangle2* pStartTriangle);
	// Inserts v or leaves it to the sequential pass (then returns pStartTriangle).
	Triangle2* insertOrDefer(Point2* v, Triangle2* pStartTriangle);
	// Returns a triangle near v (in the box), or null when v had to be left.
	Triangle2* localInsertVertex(Point2* v, Triangle2* pStartTriangle);
	Triangle2* freshTriangle();
	struct BoxGuard;
	struct DenseOps;
	struct BoxFlipPolicy;

	Dt2* pDt;
	InlineGeomTest* pGeomTest;
	size_t chunkIndex;
	std::vector<Point2*>* pvDenseVtx;
	size_t first, last;
	Bbox2 extBox;
	double minX, minY, maxX, maxY; // extBox, flat for the hot checks
	Point2* aStartVtx[3]; // corners of the coarse triangle of the first vertex
	std::vector<Triangle2*> vLocalCheckT; // flip stack
	std::vector<Triangle2*> vFlippedT; // flips made for the current vertex (each a of flip(a, 0)), oldest first
	std::vector<Triangle2*> vFreshT;
	size_t numFreshUsed;
	std::vector<std::pair<Point2*, Point2*>> vDuplicates; // (duplicate, existing)
	std::vector<Point2*> vDeferred;
	Triangle2* pFinalT;
};

} // namespace MIREL25D
