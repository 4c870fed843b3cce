#pragma once
#include "ListenerTable.h"
#include <cstddef>

namespace MIREL25D {

// Reports the progress of a long operation to the listeners of MSG_PROGRESS,
// at most every total/100 steps. Without listeners start() leaves it idle and
// each step costs one predictable branch.
class ProgressReporter
{
public:
	explicit ProgressReporter(const ListenerTable& mListeners_)
		: mListeners(mListeners_), pOperationName(nullptr), bActive(false), total(0.0), updateInterval(1.0), done(0.0), nextUpdate(0.0)
	{}

	void start(const char* pOperationName_, double total_)
	{
		pOperationName = pOperationName_;
		bActive = mListeners.has(MSG_PROGRESS);
		if(!bActive) return;
		total = total_;
		updateInterval = total / 100.0 < 1.0 ? 1.0 : total / 100.0;
		done = 0.0;
		nextUpdate = updateInterval;
		send(0.0);
	}
	void step()
	{
		if(bActive) advance(1.0);
	}
	void advance(double amount)
	{
		if(!bActive) return;
		done += amount;
		if(done >= nextUpdate)
		{
			while(nextUpdate <= done) nextUpdate += updateInterval;
			send(done >= total ? 100.0 : 100.0 * done / total);
		}
	}
	void finish()
	{
		if(bActive) send(100.0);
		bActive = false;
		pOperationName = nullptr;
	}
	// The name of the operation under way ("insert"), null when none is.
	const char* getOperationName() const { return pOperationName; }

private:
	void send(double percent)
	{
		mListeners.send(MSG_PROGRESS, percent);
	}

	const ListenerTable& mListeners;
	const char* pOperationName;
	bool bActive;
	double total;
	double updateInterval;
	double done;
	double nextUpdate;
};

} // namespace MIREL25D
