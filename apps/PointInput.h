#pragma once
// Reading the points to triangulate from files, strictly: where the library's
// readers stop quietly at a non-number or read a cut-off binary file as zeros,
// the tool refuses the file with a message that names it.
#include "Point2.h"
#include <string>
#include <vector>

namespace mireltool {

// Bad input: the message names the file and the problem, on one line.
struct InputError
{
	std::string message;
};

enum class PointFormat
{
	AUTO, // binary point file if it starts like one (or is named *.bin), else text
	XY, // text, numbers taken two at a time
	XYZ, // text, numbers taken three at a time
	BIN // binary point file, type 20 (x y) or 30 (x y z)
};

// "auto", "xy", "xyz" or "bin"; anything else is a UsageError.
PointFormat parsePointFormat(const std::string& name);

// Appends the file's points; returns a description of the format read
// ("text x y z", "binary x y", ...). Throws InputError.
std::string readPointFile(const std::string& filename, PointFormat format, std::vector<MIREL25D::Point2>& vPoints);

} // namespace mireltool
