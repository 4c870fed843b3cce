#pragma once
#include "Bbox2.h"
#include "Point2.h"
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <vector>

namespace MIREL25D {

class Chunk;
class Dt2;
struct IdxVtxAct;

// ======================================================================
// Thread control: each task runs on its own standard thread; all are
// joined before runTasks returns.
// ======================================================================
class MTTask
{
public:
	virtual ~MTTask() {}
	virtual void run() = 0;
};

class MTCtrl
{
public:
	static void runTasks(std::vector<MTTask*>& vTasks);
};

// ======================================================================
// Parallel insertion of a batch of unique vertices in Hilbert order.
// ======================================================================
class InserterMT
{
public:
	InserterMT(Dt2* pDt_, int numCPU_);
	~InserterMT();
	InserterMT(const InserterMT&) = delete;
	InserterMT& operator=(const InserterMT&) = delete;

	// The parallel path of a batch insertion: the batch waits unmerged at the
	// end of the vault. A fake box is put around all points, the batch goes in
	// by go, and the box is removed again, so the caller never sees it.
	static void insertBatch(Dt2& dt, const Bbox2& batchBox);

	// task(t) for t = 0 .. numTasks-1, each on its own thread.
	static void parallelTasks(size_t numTasks, const std::function<void(size_t)>& task);
	// func(begin, end) on numThreads contiguous slices of [0, n), in parallel.
	static void parallelFor(int numThreads, size_t n, const std::function<void(size_t, size_t)>& func);
	// Stable LSD radix sort of (key << 32 | position) values by key, like
	// VertexVault::sortKeyIndexPairs: per pass, each thread counts its slice,
	// and scatters it behind the slices before it in every bucket.
	static void sortKeyIndexPairsMT(int numThreads, uint64_t* aPairs, uint64_t* aBuffer, size_t n);

	// Inserts [start_it, end_it): a sparse sample sequentially, then the rest
	// in chunks on numCPU threads. The mesh must have a fake box around them.
	// The range is a run of the vault's records.
	void go(IdxVtxAct* start_it, IdxVtxAct* end_it);

	// Worker loop (called by the worker task).
	void workerLoop();

private:
	static void createFakeBox(Dt2& dt, const Bbox2& batchBox);
	static void removeFakeBox(Dt2& dt);

	struct ChunkOrder
	{
		bool operator()(const Chunk* a, const Chunk* b) const;
	};
	void insertSparse();
	void cutIntoChunks(size_t numChunksRequested);
	void determineExtBoxes();
	void startWork(int numThreads);
	Chunk* getNextChunk();
	void retireChunk(Chunk* pChunk);
	// Pool access of the workers, one call per chunk.
	void supplyTriangles(Chunk* pChunk);
	// Sequential clean-up after the workers: unused triangles back to the pool,
	// duplicates to the vault, vertices the chunks left.
	void finishChunks();

	Dt2* pDt;
	int numCPU;
	std::vector<Point2*> vDenseVtx;
	std::vector<Point2*> vSparseVtx;
	std::vector<Chunk*> vChunks;
	std::set<Chunk*, ChunkOrder> sWaitingChunks;
	std::set<Chunk*, ChunkOrder> sStartedChunks;
	std::mutex chunkMutex; // guards both sets
	std::mutex poolMutex; // the triangle pool, taken once per chunk
};

} // namespace MIREL25D
