#include "InserterMT.h"
#include "Chunk.h"
#include "Dt2.h"
#include "Triangle2.h"
#include "tools.h"
#include <algorithm>
#include <chrono>
#include <cmath>
#include <exception>
#include <iterator>
#include <thread>

namespace MIREL25D {

// ======================================================================
// Thread control
// ======================================================================

// An exception (a failed assertion) must not end the process from a worker
// thread: the first one is thrown again on the caller's thread after the join.
void MTCtrl::runTasks(std::vector<MTTask*>& vTasks)
{
	std::vector<std::exception_ptr> vErrors(vTasks.size());
	std::vector<std::thread> vThreads;
	vThreads.reserve(vTasks.size());
	for(size_t i = 0; i < vTasks.size(); ++i)
	{
		vThreads.emplace_back([&vTasks, &vErrors, i]() {
			try
			{
				vTasks[i]->run();
			}
			catch(...)
			{
				vErrors[i] = std::current_exception();
			}
		});
	}
	for(std::thread& t : vThreads) t.join();
	for(std::exception_ptr& pError : vErrors)
	{
		if(pError) std::rethrow_exception(pError);
	}
}

namespace {

class FuncTask : public MTTask
{
public:
	FuncTask(const std::function<void(size_t)>& task_, size_t taskIndex_) : task(task_), taskIndex(taskIndex_) {}
	void run() override { task(taskIndex); }

private:
	const std::function<void(size_t)>& task;
	size_t taskIndex;
};

// Inserts chunks until none is left.
class WorkerTask : public MTTask
{
public:
	explicit WorkerTask(InserterMT* pInserter_) : pInserter(pInserter_) {}
	void run() override { pInserter->workerLoop(); }

private:
	InserterMT* pInserter;
};

// Extended boxes of every numTasks-th chunk, from offset on.
class ExtBoxTask : public MTTask
{
public:
	ExtBoxTask(std::vector<Chunk*>& vChunks_, std::vector<Triangle2*>& vStartT_, const Bbox2& clipBox_, size_t offset_, size_t numTasks_)
		: vChunks(vChunks_), vStartT(vStartT_), clipBox(clipBox_), offset(offset_), numTasks(numTasks_)
	{}
	void run() override
	{
		for(size_t i = offset; i < vChunks.size(); i += numTasks) vChunks[i]->determineExtBox(vStartT[i], clipBox);
	}

private:
	std::vector<Chunk*>& vChunks;
	std::vector<Triangle2*>& vStartT;
	const Bbox2& clipBox;
	size_t offset, numTasks;
};

} // namespace

void InserterMT::parallelTasks(size_t numTasks, const std::function<void(size_t)>& task)
{
	std::vector<FuncTask> vTaskObjects;
	vTaskObjects.reserve(numTasks);
	std::vector<MTTask*> vTasks;
	for(size_t t = 0; t < numTasks; ++t)
	{
		vTaskObjects.emplace_back(task, t);
		vTasks.push_back(&vTaskObjects.back());
	}
	MTCtrl::runTasks(vTasks);
}

void InserterMT::parallelFor(int numThreads, size_t n, const std::function<void(size_t, size_t)>& func)
{
	size_t numTasks(static_cast<size_t>(std::max(numThreads, 1)));
	if(numTasks == 1 || n < 10000)
	{
		func(0, n);
		return;
	}
	parallelTasks(numTasks, [&](size_t t) { func(n * t / numTasks, n * (t + 1) / numTasks); });
}

void InserterMT::sortKeyIndexPairsMT(int numThreads, uint64_t* aPairs, uint64_t* aBuffer, size_t n)
{
	const int numDigitBits(10);
	const size_t numBuckets(size_t(1) << numDigitBits);
	size_t numTasks(static_cast<size_t>(std::max(numThreads, 1)));
	if(numTasks == 1 || n < 10000)
	{
		VertexVault::sortKeyIndexPairs(aPairs, aBuffer, n);
		return;
	}
	std::vector<size_t> vCount(numTasks * numBuckets);
	uint64_t* pSrc(aPairs);
	uint64_t* pDst(aBuffer);
	for(int pass = 0; pass < 3; ++pass)
	{
		int shift(32 + numDigitBits * pass);
		std::fill(vCount.begin(), vCount.end(), 0);
		parallelTasks(numTasks, [&](size_t t) {
			size_t* aCount(&vCount[t * numBuckets]);
			for(size_t i = n * t / numTasks; i < n * (t + 1) / numTasks; ++i) ++aCount[(pSrc[i] >> shift) & (numBuckets - 1)];
		});
		// Exclusive offsets: bucket by bucket, slice by slice.
		size_t sum(0);
		bool bOneBucket(false);
		for(size_t b = 0; b < numBuckets; ++b)
		{
			size_t bucketTotal(0);
			for(size_t t = 0; t < numTasks; ++t)
			{
				size_t c(vCount[t * numBuckets + b]);
				vCount[t * numBuckets + b] = sum;
				sum += c;
				bucketTotal += c;
			}
			if(bucketTotal == n) bOneBucket = true;
		}
		if(bOneBucket) continue; // one digit value only
		parallelTasks(numTasks, [&](size_t t) {
			size_t* aOffset(&vCount[t * numBuckets]);
			for(size_t i = n * t / numTasks; i < n * (t + 1) / numTasks; ++i) pDst[aOffset[(pSrc[i] >> shift) & (numBuckets - 1)]++] = pSrc[i];
		});
		std::swap(pSrc, pDst);
	}
	if(pSrc != aPairs) std::copy(pSrc, pSrc + n, aPairs);
}

// ======================================================================
// The batch inside a fake box
// ======================================================================

// The corners lie a tenth of the points' extent outside their bounding box,
// so the box strictly contains every point, old and new.
void InserterMT::createFakeBox(Dt2& dt, const Bbox2& batchBox)
{
	VertexVault& vault(dt.vertexVault);
	// The batch's bounds and those of the old active points.
	Bbox2 all(batchBox);
	for(size_t i = 0; i < vault.getNumSorted(); ++i)
	{
		const IdxVtxAct* pRec(vault.getRecord(i));
		if(pRec->active) all.add(*pRec->pVtx);
	}
	double margin(0.1 * all.getMaxRange());
	double maxAbs(std::max(std::fabs(all.getMinCoord()), std::fabs(all.getMaxCoord())));
	// A point-like or flat set still needs a box with area.
	if(!(margin > 1e-6 * maxAbs)) margin = std::max(1.0, maxAbs) * 1e-3;
	double minX(all.get_minX() - margin), minY(all.get_minY() - margin);
	double maxX(all.get_maxX() + margin), maxY(all.get_maxY() + margin);
	double cornerMaxAbs(std::max(std::max(std::fabs(minX), std::fabs(maxX)), std::max(std::fabs(minY), std::fabs(maxY))));
	if(cornerMaxAbs > dt.geomTest.getMaxCoord()) dt.geomTest.setStaticBound_MT(cornerMaxAbs);

	Point2* aCorner[4];
	uint32_t aKey[4];
	const double aXY[4][2] = {{minX, minY}, {maxX, minY}, {maxX, maxY}, {minX, maxY}};
	for(int i = 0; i < 4; ++i)
	{
		aCorner[i] = dt.newVertex();
		aCorner[i]->set(aXY[i][0], aXY[i][1], 0.0, -1);
		aKey[i] = dt.hilbertGrid.getKey(aXY[i][0], aXY[i][1]);
	}
	vault.addFakeBox(aCorner, aKey);

	if(vault.isFullDimensional())
	{
		// Outside the hull: each corner by the sequential hull insertion.
		for(Point2* pCorner : aCorner)
		{
			Triangle2* pStartT(vault.getCloseTriangle(dt.hilbertGrid.getKey(pCorner->x(), pCorner->y())));
			MIREL_ASSERT(pStartT!=0);
			dt.insertVertex(pCorner, pStartT);
		}
		return;
	}
	// No triangle yet: the box is two triangles, and the points stored so far
	// (collinear or none) go in sequentially.
	Triangle2* pT1(dt.newTriangle());
	Triangle2* pT2(dt.newTriangle());
	pT1->setProperties(aCorner[0], aCorner[1], aCorner[2]);
	pT2->setProperties(aCorner[0], aCorner[2], aCorner[3]);
	pT1->setOppTriangle(1, pT2);
	pT2->setOppTriangle(2, pT1);
	vault.setFullDimensional();
	IdxVtxAct* records(vault.getRecords());
	dt.triangulateRec(records, records + vault.getNumSorted(), pT1);
}

void InserterMT::removeFakeBox(Dt2& dt)
{
	std::vector<Point2*> vCorners;
	dt.vertexVault.removeFakeBox(vCorners);
	for(Point2* pCorner : vCorners) dt.remove(pCorner);
}

void InserterMT::insertBatch(Dt2& dt, const Bbox2& batchBox)
{
	createFakeBox(dt, batchBox);
	VertexVault& vault(dt.vertexVault);
	{
		InserterMT inserter(&dt, dt.numCPU);
		inserter.go(vault.getRecords() + vault.getNumSorted(), vault.getRecords() + vault.size());
	}
	vault.adoptFirstCopyData();
	vault.mergeBatch();
	removeFakeBox(dt);
}

// ======================================================================
// InserterMT
// ======================================================================

bool InserterMT::ChunkOrder::operator()(const Chunk* a, const Chunk* b) const
{
	return a->getIndex() < b->getIndex();
}

InserterMT::InserterMT(Dt2* pDt_, int numCPU_) : pDt(pDt_), numCPU(numCPU_) {}

InserterMT::~InserterMT()
{
	for(Chunk* pChunk : vChunks) delete pChunk;
}

void InserterMT::go(IdxVtxAct* start_it, IdxVtxAct* end_it)
{
	using std::distance;
	size_t n(static_cast<size_t>(std::distance(start_it, end_it)));
	size_t s(static_cast<size_t>(2.0 * std::sqrt(double(n))));
	size_t k(std::min(n / 2, 5 * s));
	size_t step(n / k);

	// Every (step+1)-th vertex is sparse: dense vertex i is batch vertex
	// i + i/step, sparse vertex j is batch vertex (j+1)*step + j.
	size_t numSparse(n / (step + 1));
	vDenseVtx.resize(n - numSparse);
	vSparseVtx.resize(numSparse);
	parallelFor(numCPU, vDenseVtx.size(), [&](size_t b, size_t e) {
		for(size_t i = b; i < e; ++i) vDenseVtx[i] = start_it[i + i / step].pVtx;
	});
	for(size_t j = 0; j < numSparse; ++j) vSparseVtx[j] = start_it[(j + 1) * step + j].pVtx;
	MIREL_ASSERT(vDenseVtx.size()+vSparseVtx.size()==(size_t)distance(start_it,end_it));
	MIREL_ASSERT(!vSparseVtx.empty());

	insertSparse();
	cutIntoChunks(s);
	determineExtBoxes();
	std::vector<Point2*>().swap(vSparseVtx);
	startWork(numCPU);
	finishChunks();

	for(Chunk* pChunk : vChunks) delete pChunk;
	vChunks.clear();
	std::vector<Point2*>().swap(vDenseVtx);
}

void InserterMT::insertSparse()
{
	Triangle2* pStartT(pDt->vertexVault.getFakeBoxCorner(0)->getIncidentTriangle());
	MIREL_ASSERT(pStartT!=0);
	for(Point2* pVtx : vSparseVtx) pStartT = pDt->insertVertex(pVtx, pStartT);
}

void InserterMT::cutIntoChunks(size_t numChunksRequested)
{
	size_t numDense(vDenseVtx.size());
	size_t size(numDense / std::max<size_t>(numChunksRequested, 1));
	if(size == 0) size = numDense;
	size_t third(size / 3);
	std::vector<std::pair<size_t, size_t>> vRanges;
	for(size_t i = 0;; ++i)
	{
		size_t first(i * size);
		size_t e((i + 1) * size);
		size_t last(std::min(e, numDense));
		size_t remainder(numDense - last);
		if(remainder < 1000 && !(remainder > third && e <= numDense)) last = numDense;
		vRanges.push_back(std::make_pair(first, last));
		if(last == numDense) break;
	}
	// Construction scans the chunk's vertices (the predicates' bound), so the
	// chunks are made in parallel.
	vChunks.assign(vRanges.size(), nullptr);
	size_t numTasks(static_cast<size_t>(std::max(numCPU, 1)));
	parallelTasks(numTasks, [&](size_t t) {
		for(size_t i = t; i < vRanges.size(); i += numTasks) vChunks[i] = new Chunk(pDt, &pDt->geomTest, i, &vDenseVtx, vRanges[i].first, vRanges[i].second);
	});
}

// Each chunk's walk starts at the sparse vertex that preceded its first dense
// vertex in the batch: the batch is in Hilbert order, so it lies close by.
void InserterMT::determineExtBoxes()
{
	Triangle2* pFallbackT(pDt->vertexVault.getFakeBoxCorner(0)->getIncidentTriangle());
	size_t step(vDenseVtx.size() / vSparseVtx.size());
	std::vector<Triangle2*> vStartT(vChunks.size(), pFallbackT);
	size_t firstDense(0);
	for(size_t i = 0; i < vChunks.size(); ++i)
	{
		size_t sparseIdx(step == 0 ? 0 : firstDense / std::max<size_t>(step, 1));
		if(sparseIdx >= vSparseVtx.size()) sparseIdx = vSparseVtx.size() - 1;
		Triangle2* pIncT(vSparseVtx[sparseIdx]->getIncidentTriangle());
		if(pIncT != nullptr) vStartT[i] = pIncT;
		firstDense += vChunks[i]->size();
	}

	Bbox2 fakeBox;
	for(size_t i = 0; i < 4; ++i) fakeBox.add(*pDt->vertexVault.getFakeBoxCorner(i));
	size_t numTasks(static_cast<size_t>(std::max(numCPU, 1)));
	std::vector<ExtBoxTask> vTaskObjects;
	vTaskObjects.reserve(numTasks);
	std::vector<MTTask*> vTasks;
	for(size_t t = 0; t < numTasks; ++t)
	{
		vTaskObjects.emplace_back(vChunks, vStartT, fakeBox, t, numTasks);
		vTasks.push_back(&vTaskObjects.back());
	}
	MTCtrl::runTasks(vTasks);
}

void InserterMT::startWork(int numThreads)
{
	MIREL_ASSERT(sStartedChunks.empty());
	{
		std::lock_guard<std::mutex> lock(chunkMutex);
		sWaitingChunks.insert(vChunks.begin(), vChunks.end());
	}
	if(numThreads < 1) return;
	std::vector<WorkerTask> vTaskObjects(static_cast<size_t>(numThreads), WorkerTask(this));
	std::vector<MTTask*> vTasks;
	for(WorkerTask& task : vTaskObjects) vTasks.push_back(&task);
	MTCtrl::runTasks(vTasks);
}

void InserterMT::workerLoop()
{
	for(;;)
	{
		Chunk* pChunk(getNextChunk());
		if(pChunk != nullptr)
		{
			try
			{
				supplyTriangles(pChunk);
				pChunk->state = 1;
				pChunk->run();
				pChunk->state = 2;
			}
			catch(...)
			{
				// The other workers stop too instead of waiting for this chunk.
				std::lock_guard<std::mutex> lock(chunkMutex);
				sWaitingChunks.clear();
				throw;
			}
			retireChunk(pChunk);
			continue;
		}
		{
			std::lock_guard<std::mutex> lock(chunkMutex);
			if(sWaitingChunks.empty()) return;
		}
		std::this_thread::yield();
		std::this_thread::sleep_until(std::chrono::steady_clock::now() + std::chrono::duration<long long, std::ratio<1, 10000000>>(250));
	}
}

// The first waiting chunk (in creation order) whose box meets no running box.
Chunk* InserterMT::getNextChunk()
{
	std::lock_guard<std::mutex> lock(chunkMutex);
	for(auto it = sWaitingChunks.begin(); it != sWaitingChunks.end(); ++it)
	{
		Chunk* pCand(*it);
		bool bFree(true);
		for(Chunk* pRunning : sStartedChunks)
		{
			if(pCand->getExtBox().doIntersect(pRunning->getExtBox()))
			{
				bFree = false;
				break;
			}
		}
		if(!bFree) continue;
		pCand->state = 1;
		sWaitingChunks.erase(it);
		sStartedChunks.insert(pCand);
		return pCand;
	}
	return nullptr;
}

void InserterMT::retireChunk(Chunk* pChunk)
{
	std::lock_guard<std::mutex> lock(chunkMutex);
	sStartedChunks.erase(pChunk);
}

// Every insertion inside the fake box makes exactly two triangles.
void InserterMT::supplyTriangles(Chunk* pChunk)
{
	// Raw triangles: the chunk sets every field of those it uses, and the
	// unused ones are cleared when they go back to the pool.
	size_t numT(2 * pChunk->size());
	std::vector<Triangle2*> vT(numT);
	{
		std::lock_guard<std::mutex> lock(poolMutex);
		for(size_t k = 0; k < numT; ++k) vT[k] = pDt->trianglePool.allocRaw();
		pDt->numAllT += numT;
	}
	pChunk->takeFreshTriangles(vT);
}

void InserterMT::finishChunks()
{
	std::vector<Triangle2*> vUnusedT;
	Triangle2* pFallbackT(pDt->vertexVault.getFakeBoxCorner(0)->getIncidentTriangle());
	for(Chunk* pChunk : vChunks)
	{
		pChunk->getUnusedTriangles(vUnusedT);
		for(Triangle2* pT : vUnusedT) pDt->releaseTriangle(pT);
		for(const std::pair<Point2*, Point2*>& dup : pChunk->getDuplicates()) pDt->vertexVault.registerDup(dup.first, dup.second);
		size_t numInChunk(pChunk->size() - pChunk->getDeferred().size());
		pDt->progress.advance(double(numInChunk));
		Triangle2* pStartT(pChunk->getLastTriangle() != nullptr ? pChunk->getLastTriangle() : pFallbackT);
		for(Point2* pVtx : pChunk->getDeferred()) pStartT = pDt->insertVertex(pVtx, pStartT);
	}
}

} // namespace MIREL25D
