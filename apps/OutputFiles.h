#pragma once
// Output files that appear under their names only when complete: each is
// written into a hidden staging folder inside the output folder and renamed
// when the writer succeeded, so that a failed run never leaves a half-written
// file that looks like a result.
#include <string>

namespace mireltool {

// A failure to write: the message names the file or folder, on one line.
struct OutputError
{
	std::string message;
};

// Creates the folder (and its parents) and checks that files can be made in
// it. Throws OutputError.
void prepareOutputFolder(const std::string& folder);

class PendingFile
{
public:
	PendingFile(const std::string& folder, const std::string& fileName);
	// Removes the temporary file unless it was committed.
	~PendingFile();
	PendingFile(const PendingFile&) = delete;
	PendingFile& operator=(const PendingFile&) = delete;

	const std::string& getTempPath() const { return tempPath; }
	const std::string& getFinalPath() const { return finalPath; }
	// Renames the temporary file to its final name. Throws OutputError.
	void commit();
	// The size of the committed file in bytes.
	unsigned long long size() const;

private:
	std::string tempPath;
	std::string finalPath;
	bool bCommitted;
};

} // namespace mireltool
