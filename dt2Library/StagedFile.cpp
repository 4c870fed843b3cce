#include "StagedFile.h"
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <locale>
#if defined(_WIN32)
#include <process.h>
#else
#include <unistd.h>
#endif

namespace MIREL25D {

namespace {
// Process id and a process-wide counter: writers in other processes and
// threads of this one never share a temporary name.
std::string temporaryName(const std::string& targetPath)
{
	static std::atomic<unsigned long> counter(0);
#if defined(_WIN32)
	long pid(_getpid());
#else
	long pid(getpid());
#endif
	return targetPath + ".tmp-" + std::to_string(pid) + "-" + std::to_string(counter.fetch_add(1));
}
} // namespace

StagedFile::StagedFile(const std::string& targetPath_) : targetPath(targetPath_), tempPath(temporaryName(targetPath_)), bFinished(false)
{
	if(targetPath.empty()) return;
	out.open(tempPath.c_str(), std::ios::out | std::ios::trunc | std::ios::binary);
	out.imbue(std::locale::classic());
}

StagedFile::~StagedFile()
{
	discard();
}

bool StagedFile::commit()
{
	if(bFinished || !out.is_open()) return false;
	out.flush();
	bool bWritten(!out.fail());
	out.close();
	bWritten = bWritten && !out.fail();
	// A full disk must not pass for a complete file.
	// The rename replaces an older target in one step on every platform.
	std::error_code ec;
	if(bWritten) std::filesystem::rename(tempPath, targetPath, ec);
	if(!bWritten || ec)
	{
		std::remove(tempPath.c_str());
		bFinished = true;
		return false;
	}
	bFinished = true;
	return true;
}

void StagedFile::discard()
{
	if(bFinished) return;
	bFinished = true;
	if(!out.is_open()) return;
	out.close();
	std::remove(tempPath.c_str());
}

} // namespace MIREL25D
