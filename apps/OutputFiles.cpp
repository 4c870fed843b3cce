#include "OutputFiles.h"
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <unistd.h>

namespace mireltool {

namespace fs = std::filesystem;

void prepareOutputFolder(const std::string& folder)
{
	std::error_code ec;
	fs::create_directories(folder, ec);
	if(ec) throw OutputError{"output folder " + folder + ": can't be created (" + ec.message() + ")"};
	if(!fs::is_directory(folder, ec)) throw OutputError{"output folder " + folder + ": exists and is not a folder"};
	// Creating a file is the only reliable test (permissions, read-only mounts).
	std::string probe((fs::path(folder) / (".mirel-probe-" + std::to_string(getpid()))).string());
	{
		std::ofstream out(probe);
		if(!out) throw OutputError{"output folder " + folder + ": files can't be written there"};
	}
	fs::remove(probe, ec);
}

namespace {
// The staging folder lies in the output folder, so the final rename never
// crosses file systems; the temporary file keeps the final file name, which
// writers that print their own file name (the drawing's title) then show.
std::string stagingFolder(const std::string& folder)
{
	return (fs::path(folder) / (".mirel-tmp-" + std::to_string(getpid()))).string();
}

void removeIfEmpty(const std::string& folder)
{
	std::error_code ec;
	if(fs::is_empty(folder, ec) && !ec) fs::remove(folder, ec);
}
} // namespace

PendingFile::PendingFile(const std::string& folder, const std::string& fileName)
	: tempPath((fs::path(stagingFolder(folder)) / fileName).string()), finalPath((fs::path(folder) / fileName).string()), bCommitted(false)
{
	std::error_code ec;
	fs::create_directory(stagingFolder(folder), ec);
	if(ec) throw OutputError{"output folder " + folder + ": files can't be written there (" + ec.message() + ")"};
}

PendingFile::~PendingFile()
{
	std::error_code ec;
	if(!bCommitted) fs::remove(tempPath, ec);
	removeIfEmpty(fs::path(tempPath).parent_path().string());
}

void PendingFile::commit()
{
	std::error_code ec;
	fs::rename(tempPath, finalPath, ec);
	if(ec) throw OutputError{finalPath + ": can't be written (" + ec.message() + ")"};
	bCommitted = true;
}

unsigned long long PendingFile::size() const
{
	std::error_code ec;
	auto n(fs::file_size(bCommitted ? finalPath : tempPath, ec));
	return ec ? 0 : static_cast<unsigned long long>(n);
}

} // namespace mireltool
