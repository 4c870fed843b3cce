#include "SceneFiles.h"
#include "MeshFiles.h"
#include "StagedFile.h"
#include "tools.h"
#include <filesystem>
#include <string>
#include <system_error>

namespace MIREL25D {

namespace fs = std::filesystem;

bool createDirectory(const char* path)
{
	const char* place("createDirectory()");
	if(path == nullptr || *path == '\0')
	{
		sendError(place, "no directory name given");
		return false;
	}
	std::error_code ec;
	fs::create_directories(path, ec);
	// The callers name the directory in their own message.
	return fs::is_directory(path, ec);
}

const StoredText* findStoredText(const std::string& fileName)
{
	if(fileName == webScenePage.fileName) return &webScenePage;
	if(fileName == threeJsLicense.fileName) return &threeJsLicense;
	for(size_t i = 0; i < numThreeJsTexts; ++i)
		if(fileName == aThreeJsTexts[i].fileName) return &aThreeJsTexts[i];
	return nullptr;
}

void writeStoredText(const StoredText& text, StagedFile& file)
{
	for(size_t i = 0; i < text.numChunks; ++i) file.stream() << text.aChunks[i];
}

void fileReplicate(const char* name, const char* targetPath)
{
	const char* place("fileReplicate");
	const StoredText* pText(name != nullptr ? findStoredText(name) : nullptr);
	if(pText == nullptr)
	{
		sendError(place, "unknown file");
		return;
	}
	if(targetPath == nullptr || *targetPath == '\0')
	{
		sendError(place, "no target given");
		return;
	}
	std::error_code ec;
	std::string target(fs::is_directory(targetPath, ec) ? (fs::path(targetPath) / name).string() : std::string(targetPath));
	StagedFile file(target);
	if(file.isOpen()) writeStoredText(*pText, file);
	if(!file.commit()) sendError(place, "Can't write " + target);
}

} // namespace MIREL25D
