#pragma once
#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>
#include <type_traits>
#include <vector>

namespace MIREL25D {

// The two diagnostics of the pool, out of line so that the template stays
// light; the second ends in the assertion banner.
void reportPoolInitTwice();
void reportPoolOutOfMemory();

// A pool of fixed-size objects, allocated in blocks so that the objects never
// move: the library hands out raw pointers to them. Released objects go to a
// free list and are handed out again first. The pool owns every block and
// destroys them with itself.
template<class T>
class SimplePool
{
	// Blocks are raw memory; objects are never destroyed one by one.
	static_assert(std::is_trivially_destructible<T>::value, "pooled objects are released with their block");

public:
	SimplePool() : blockSize(0), numUsedInLastBlock(0) {}
	~SimplePool() { clear(); }
	SimplePool(const SimplePool&) = delete;
	SimplePool& operator=(const SimplePool&) = delete;

	// Sets the number of objects per block; the pool can be initialised once.
	bool init(size_t blockSize_)
	{
		if(blockSize != 0)
		{
			reportPoolInitTwice();
			return false;
		}
		blockSize = blockSize_ < 1 ? 1 : blockSize_;
		return true;
	}
	bool isInitialized() const { return blockSize != 0; }
	size_t getBlockSize() const { return blockSize; }

	// An object from the free list, else the next unused one of the last block.
	// Never null: when no memory can be had, a message and the assertion banner.
	T* alloc()
	{
		T* p(allocRaw());
		return p == nullptr ? nullptr : new(p) T();
	}
	// The same without constructing a fresh object: the caller sets every
	// field before the object is read. A fresh block is only touched by the
	// thread that initialises its objects, so bulk allocations can be
	// initialised (and their memory faulted in) by several threads.
	T* allocRaw()
	{
		if(!vFree.empty())
		{
			T* p(vFree.back());
			vFree.pop_back();
			return p;
		}
		if(vBlocks.empty() || numUsedInLastBlock == blockSize)
		{
			if(!addBlock()) return nullptr;
		}
		return vBlocks.back() + numUsedInLastBlock++;
	}

	// n raw objects (see allocRaw) in runs of consecutive objects, appended to
	// vRuns as (first, count); fewer only when memory runs out. The free list
	// is left alone.
	size_t allocRawRuns(size_t n, std::vector<std::pair<T*, size_t>>& vRuns)
	{
		size_t numGot(0);
		while(numGot < n)
		{
			if(vBlocks.empty() || numUsedInLastBlock == blockSize)
			{
				if(!addBlock()) break;
			}
			size_t numTaken(std::min(n - numGot, blockSize - numUsedInLastBlock));
			vRuns.push_back(std::make_pair(vBlocks.back() + numUsedInLastBlock, numTaken));
			numUsedInLastBlock += numTaken;
			numGot += numTaken;
		}
		return numGot;
	}

	// The caller clears the object first where dead objects must be recognisable.
	void release(T* p) { vFree.push_back(p); }

	// Objects handed out and not released.
	size_t numLive() const { return numHandedOut() - vFree.size(); }
	// Objects ever taken from the blocks (live or on the free list).
	size_t numHandedOut() const { return vBlocks.empty() ? 0 : (vBlocks.size() - 1) * blockSize + numUsedInLastBlock; }

	// Block access for scans over all objects ever handed out (dead ones included).
	size_t numBlocks() const { return vBlocks.size(); }
	T* getBlock(size_t i, size_t& numUsed) const
	{
		numUsed = (i + 1 == vBlocks.size()) ? numUsedInLastBlock : blockSize;
		return vBlocks[i];
	}

	// Frees block i at once, for a scan that consumes the pool: its objects
	// must not be used again, and only clear() may follow.
	void freeBlock(size_t i)
	{
		::operator delete[](static_cast<void*>(vBlocks[i]));
		vBlocks[i] = nullptr;
	}

	void clear()
	{
		for(T* pBlock : vBlocks) ::operator delete[](static_cast<void*>(pBlock));
		std::vector<T*>().swap(vBlocks);
		std::vector<T*>().swap(vFree);
		numUsedInLastBlock = 0;
	}

private:
	bool addBlock()
	{
		if(blockSize == 0) blockSize = 1;
		T* pBlock(nullptr);
		try
		{
			vBlocks.reserve(vBlocks.size() + 1);
			pBlock = static_cast<T*>(::operator new[](blockSize * sizeof(T), std::nothrow));
		}
		catch(const std::bad_alloc&)
		{
			pBlock = nullptr;
		}
		if(pBlock == nullptr)
		{
			reportPoolOutOfMemory();
			return false;
		}
		vBlocks.push_back(pBlock);
		numUsedInLastBlock = 0;
		return true;
	}

	size_t blockSize;
	size_t numUsedInLastBlock;
	std::vector<T*> vBlocks;
	std::vector<T*> vFree;
};

} // namespace MIREL25D
