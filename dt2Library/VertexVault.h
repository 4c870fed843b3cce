#pragma once
#include "HilbertGrid.h"
#include "MirelExportMacro.h"
#include "Point2.h"
#include "SimplePool.h"
#include <cstdint>
#include <map>
#include <vector>

namespace MIREL25D {

class GeomTest;
class Triangle2;
struct MirelExport;

// One record per vertex: its Hilbert key, whether it still belongs to the
// triangulation (false once removed or found to be a duplicate), the vertex.
struct IdxVtxAct
{
	uint32_t key;
	uint8_t active;
	Point2* pVtx;
};

// The vertex store of the triangulation: every vertex with its Hilbert key in
// key order, the duplicates found during insertion and their resolution to the
// vertex that stays, start triangles close to a key and the first three points.
class MIREL_API VertexVault
{
public:
	VertexVault(GeomTest* pGeomTest_, const HilbertGrid* pGrid_);
	~VertexVault();
	VertexVault(const VertexVault&) = delete;
	VertexVault& operator=(const VertexVault&) = delete;

	// Batch: the caller sorts (key, input position) pairs with sortKeyIndexPairs,
	// reserves, and appends the new vertices in key order. The batch then lies
	// at [getNumSorted(), size()) until it is merged.
	void reserveBatch(size_t n);
	void appendSorted(Point2* pVtx, uint32_t key)
	{
		vIdxVtxAct.push_back(IdxVtxAct{key, 1, pVtx});
		++numActive;
	}
	// n new records at the end (the batch), returned for the caller to set
	// completely (key, active, vertex) in key order; they count as active.
	IdxVtxAct* appendRecords(size_t n);
	// Stable sort of n values (key << 32 | position) by key; aBuffer is scratch
	// space for n values.
	static void sortKeyIndexPairs(uint64_t* aPairs, uint64_t* aBuffer, size_t n);
	// Merges the sorted batch into the sorted store; older records come first
	// among equal keys, which keeps the first of several equal points first.
	void mergeBatch();
	// A single vertex. While no triangle exists it is placed after the records
	// with an equal key; afterwards it joins a short unsorted tail that is
	// merged once it grows, so that single insertions do not shift the store.
	void addOne(Point2* pVtx, uint32_t key);
	// Sorts the tail of single vertices and merges it into the store.
	void mergeSingles();
	// The grid changed: new keys for every record, and the store sorted again.
	void rekey();

	// The first three points for the first triangle (see the .cpp); false if the
	// stored points are all collinear or identical. pIdxA receives a's position.
	bool getThreeInitialPoints(Point2*& a, Point2*& b, Point2*& c, size_t* pIdxA = nullptr);
	// A live triangle incident to a vertex whose key is close to key, or null.
	Triangle2* getCloseTriangle(uint32_t key) const;
	// The active vertex at the same x and y as p, or null.
	Point2* findActiveVertexAt(const Point2& p) const;

	void registerDup(Point2* pDup, Point2* pExisting);
	bool dupIsClean() const { return mRedundant2UniqueVtx.empty(); }
	// After a batch: every redundant vertex in handles (may be null) is replaced
	// by its unique vertex and its record becomes inactive.
	void treatDupsAndHandles(Point2** handles, size_t numHandles);
	Point2* treatOneDupGetHandle(Point2* pVtx);
	// While no triangle exists, duplicates cannot be found by point location:
	// registers every later active vertex at the place of an earlier one.
	void registerDupsAmongActive();

	// Position of the record of an active vertex; false and a message if the
	// vault does not hold it.
	bool getIdxOfActiveVtx(const Point2* pQuery, size_t& idx) const;
	// The same without the message.
	bool findIdxOfActiveVtx(const Point2* pQuery, size_t& idx) const;
	// Marks the vertex as no longer part of the triangulation.
	bool deactivate(const Point2* pVtx);

	size_t numberOfPoints() const { return numActive; }
	size_t size() const { return vIdxVtxAct.size(); }
	size_t getNumSorted() const { return numSorted; }
	// Records move when the store grows or is merged: a pointer into it holds
	// only while no vertex is added.
	IdxVtxAct* getRecords() { return vIdxVtxAct.empty() ? nullptr : &vIdxVtxAct[0]; }
	const IdxVtxAct* getRecord(size_t i) const { return &vIdxVtxAct[i]; }
	void getActiveVertices(std::vector<Point2*>& vVertices) const;

	// Fills the custom index array of an export record, one entry per active
	// vertex in the vault's order; the record's array must be empty.
	void export_fetchCustomIndices(MirelExport& mirelExport) const;
	// Forgets every record and frees their memory (the vertices belong to the
	// triangulation's pool).
	void clear();
	// Fake box: four corners around a batch that is inserted in parallel.
	// Registers the four corners (with their keys) among the sorted records,
	// in one move of a pending batch.
	void addFakeBox(Point2* const aCorner[4], const uint32_t aKey[4]);
	Point2* getFakeBoxCorner(size_t i) const;
	// Hands the four corners out for removal from the mesh and forgets them.
	void removeFakeBox(std::vector<Point2*>& vCorners);
	// Before the batch is merged: where a duplicate and the vertex it resolves
	// to both belong to the batch, the kept vertex takes the height and custom
	// index of the copy given first (parallel insertion may keep a later one).
	void adoptFirstCopyData();

	bool isFullDimensional() const { return bFullDimensional; }
	void setFullDimensional() { bFullDimensional = true; }
	// After a removal left no triangle (the remaining points are collinear).
	void clearFullDimensional()
	{
		mergeSingles();
		bFullDimensional = false;
	}

private:
	// First record position with a key not below key, within the sorted part.
	size_t lowerBound(uint32_t key) const;
	bool findIdx(const Point2* pQuery, size_t& idx) const;

	GeomTest* pGeomTest;
	const HilbertGrid* pGrid;
	// The records themselves, not pointers to pooled ones: 16 bytes a vertex.
	std::vector<IdxVtxAct> vIdxVtxAct;
	size_t numSorted; // records [0, numSorted) are merged and sorted by key; the rest is a batch or the tail of single vertices
	size_t numActive;
	std::map<Point2*, Point2*> mRedundant2UniqueVtx;
	std::vector<Point2*> vFakeBoxHandles;
	bool bFullDimensional;
};

} // namespace MIREL25D
