#pragma once
// Internal: files that appear complete or not at all.
#include <fstream>
#include <string>

namespace MIREL25D {

// A text file written under a temporary name beside its target and renamed
// into place by commit(). Destroyed uncommitted it removes the temporary
// file, so a failed or interrupted writer never leaves half a file, and an
// older file of the same name stays as it was until the new one is complete.
class StagedFile
{
public:
	explicit StagedFile(const std::string& targetPath);
	~StagedFile();
	StagedFile(const StagedFile&) = delete;
	StagedFile& operator=(const StagedFile&) = delete;

	// Whether the temporary file could be created.
	bool isOpen() const { return out.is_open(); }
	// Formatted for files that other programs read: classic locale (a decimal
	// point whatever the user's locale).
	std::ofstream& stream() { return out; }
	// Closes the stream and renames the temporary file onto the target; false,
	// with the temporary file removed, when any write or the rename failed.
	bool commit();
	// Closes and removes the temporary file; the target stays as it was.
	void discard();
	const std::string& getTargetPath() const { return targetPath; }

private:
	std::string targetPath;
	std::string tempPath;
	std::ofstream out;
	bool bFinished;
};

} // namespace MIREL25D
