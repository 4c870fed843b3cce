#include "tools.h"
#include <cstdio>
#include <fstream>
#include <iostream>
#include <mutex>

namespace MIREL25D {

namespace {
// Messages from worker threads must not interleave within a line.
std::mutex& channelMutex()
{
	static std::mutex m;
	return m;
}

void sendMessage(const std::string& place, const char* kind, const std::string& text)
{
	std::lock_guard<std::mutex> lock(channelMutex());
	std::cout << "\n      [Mirel2D-Message] " << place << kind << text << "\n" << std::endl;
}
} // namespace

void sendRawText(const std::string& text)
{
	std::lock_guard<std::mutex> lock(channelMutex());
	std::cout << text << std::flush;
}

void sendRawErrorText(const std::string& text)
{
	std::lock_guard<std::mutex> lock(channelMutex());
	std::cerr << text << std::flush;
}

void reportLoopCap(const std::string& place, const char* capName, size_t cap)
{
	sendError(place, std::string("loop cap ") + capName + " (" + std::to_string(cap) + " steps) reached");
}

MirelException::MirelException(const std::string& msg_) : msg(msg_) {}

const char* MirelException::what() const noexcept
{
	return msg.c_str();
}

void sendWarning(const std::string& place, const std::string& text)
{
	sendMessage(place, ", WARNING: ", text);
}

void sendError(const std::string& place, const std::string& text)
{
	sendMessage(place, ", ERROR: ", text);
}

std::string qualifiedFunctionName(const char* prettyFunction)
{
	std::string s(prettyFunction);
	// The parameter list starts at the first '(' outside template brackets.
	int depth(0);
	size_t open(std::string::npos);
	for(size_t i = 0; i < s.size(); ++i)
	{
		char c(s[i]);
		if(c == '<') ++depth;
		else if(c == '>') --depth;
		else if(c == '(' && depth == 0)
		{
			// "operator()" keeps its own pair of brackets
			if(i >= 8 && s.compare(i - 8, 8, "operator") == 0 && i + 1 < s.size() && s[i + 1] == ')')
			{
				++i;
				continue;
			}
			open = i;
			break;
		}
	}
	std::string head(s.substr(0, open));
	size_t space(head.rfind(' '));
	return space == std::string::npos ? head : head.substr(space + 1);
}

std::string unitName(const char* sourceFile)
{
	std::string s(sourceFile);
	size_t slash(s.find_last_of("/\\"));
	if(slash != std::string::npos) s = s.substr(slash + 1);
	size_t dot(s.rfind('.'));
	if(dot != std::string::npos) s = s.substr(0, dot);
	return "dt2Library/" + s;
}

void assertionFailure(const char* condition, const char* sourceFile, int line, const char* prettyFunction)
{
	std::string cond(condition);
	sendError("* Mirel, ", "Condition [ " + cond + " failed ]");
	std::string banner("* Mirel, Condition [ " + cond + " failed ]");
	std::string function(qualifiedFunctionName(prettyFunction));
	std::string unit(unitName(sourceFile));
	{
		std::lock_guard<std::mutex> lock(channelMutex());
		std::cout << banner << "\n";
		std::cout << "  " << unit << ":" << line << "\n";
		std::cout << "  Function: " << function << "()" << std::endl;
		std::ofstream log("MIREL_LOG.txt", std::ios::out | std::ios::trunc);
		if(log) log << banner << "\n";
	}
	throw MirelException(banner + " " + unit + ":" + std::to_string(line) + " " + function + "()");
}

} // namespace MIREL25D
