#pragma once
#include "MsgBase.h"
#include <map>

namespace MIREL25D {

// The listeners that callers subscribed to one publisher, by message type.
// A (type, listener) pair is held at most once, so a listener subscribed
// twice still hears each message once. The listeners are owned by the caller.
class ListenerTable
{
public:
	void add(MsgType msgType, MsgBase* pListener)
	{
		auto range(mListeners.equal_range(msgType));
		for(auto it = range.first; it != range.second; ++it)
		{
			if(it->second == pListener) return;
		}
		mListeners.emplace(msgType, pListener);
	}
	// False when the pair was not subscribed.
	bool remove(MsgType msgType, MsgBase* pListener)
	{
		auto range(mListeners.equal_range(msgType));
		for(auto it = range.first; it != range.second; ++it)
		{
			if(it->second == pListener)
			{
				mListeners.erase(it);
				return true;
			}
		}
		return false;
	}
	bool empty() const { return mListeners.empty(); }
	bool has(MsgType msgType) const { return mListeners.count(msgType) > 0; }
	void send(MsgType msgType, double value) const
	{
		auto range(mListeners.equal_range(msgType));
		for(auto it = range.first; it != range.second; ++it) it->second->update(msgType, value);
	}

private:
	std::multimap<MsgType, MsgBase*> mListeners;
};

} // namespace MIREL25D
