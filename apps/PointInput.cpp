#include "PointInput.h"
#include "CommandLine.h"
#include "freeFunctions.h"
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <system_error>
#include <filesystem>

namespace mireltool {

using MIREL25D::Point2;
namespace fs = std::filesystem;

PointFormat parsePointFormat(const std::string& name)
{
	if(name == "auto") return PointFormat::AUTO;
	if(name == "xy") return PointFormat::XY;
	if(name == "xyz") return PointFormat::XYZ;
	if(name == "bin") return PointFormat::BIN;
	throw UsageError{"--format expects auto, xy, xyz or bin, not '" + name + "'"};
}

namespace {
const int32_t BIN_TYPE_XY(20);
const int32_t BIN_TYPE_XYZ(30);
const uint64_t BIN_HEADER_SIZE(12);

[[noreturn]] void fail(const std::string& filename, const std::string& problem)
{
	throw InputError{filename + ": " + problem};
}

uint64_t fileSize(const std::string& filename)
{
	std::error_code ec;
	fs::file_status status(fs::status(filename, ec));
	if(ec || !fs::exists(status)) fail(filename, "no such file");
	if(fs::is_directory(status)) fail(filename, "is a folder, not a point file");
	uint64_t size(fs::file_size(filename, ec));
	if(ec) fail(filename, "can't be read (" + ec.message() + ")");
	return size;
}

struct BinHeader
{
	int32_t type = 0;
	int64_t count = 0;
};

bool readBinHeader(const std::string& filename, BinHeader& header)
{
	std::ifstream in(filename, std::ios::binary);
	if(!in) fail(filename, "can't be read");
	in.read(reinterpret_cast<char*>(&header.type), sizeof(header.type));
	in.read(reinterpret_cast<char*>(&header.count), sizeof(header.count));
	return bool(in);
}

uint64_t bytesPerPoint(int32_t type)
{
	return type == BIN_TYPE_XYZ ? 24 : 16;
}

// A file that starts with a point file's type and whose length matches its count.
bool looksLikeBinaryPointFile(const std::string& filename, uint64_t size)
{
	BinHeader header;
	if(size < BIN_HEADER_SIZE || !readBinHeader(filename, header)) return false;
	if(header.type != BIN_TYPE_XY && header.type != BIN_TYPE_XYZ) return false;
	if(header.count < 0) return false;
	// Compared by division: the product of a hostile count would overflow.
	uint64_t bytesAfterHeader(size - BIN_HEADER_SIZE);
	return bytesAfterHeader % bytesPerPoint(header.type) == 0 && bytesAfterHeader / bytesPerPoint(header.type) == uint64_t(header.count);
}

bool hasBinExtension(const std::string& filename)
{
	std::string ext(fs::path(filename).extension().string());
	return ext == ".bin" || ext == ".BIN";
}

void checkFinite(const std::string& filename, const std::vector<Point2>& vPoints, size_t first)
{
	for(size_t i = first; i < vPoints.size(); ++i)
	{
		const Point2& p(vPoints[i]);
		if(!std::isfinite(p.x()) || !std::isfinite(p.y()) || !std::isfinite(p.z()))
		{
			std::ostringstream oss;
			oss << "point " << (i - first + 1) << " has a coordinate that is not a finite number";
			fail(filename, oss.str());
		}
	}
}

std::string readBinary(const std::string& filename, uint64_t size, std::vector<Point2>& vPoints)
{
	BinHeader header;
	if(size < BIN_HEADER_SIZE || !readBinHeader(filename, header))
	{
		fail(filename, "is too short for a binary point file (" + std::to_string(size) + " bytes, the header alone has 12)");
	}
	if(header.type != BIN_TYPE_XY && header.type != BIN_TYPE_XYZ)
	{
		fail(filename, "has the wrong binary type " + std::to_string(header.type) + ", expected 20 (x y) or 30 (x y z)");
	}
	if(header.count < 0) fail(filename, "announces a negative number of points (" + std::to_string(header.count) + ")");
	if(header.count == 0) fail(filename, "holds no points");
	// Checked by division before anything is reserved: the product of a hostile
	// count would overflow, and the claim must never be allocated.
	uint64_t numHeld((size - BIN_HEADER_SIZE) / bytesPerPoint(header.type));
	if(uint64_t(header.count) > numHeld)
	{
		fail(filename, "is truncated: its header announces " + std::to_string(header.count) + " points, the file has " + std::to_string(size) +
				" bytes, room for " + std::to_string(numHeld));
	}
	uint64_t expected(BIN_HEADER_SIZE + uint64_t(header.count) * bytesPerPoint(header.type));
	if(size > expected)
	{
		fail(filename, "has " + std::to_string(size - expected) + " bytes after the " + std::to_string(header.count) + " points its header announces");
	}
	size_t first(vPoints.size());
	vPoints.reserve(first + size_t(header.count));
	if(!MIREL25D::readPointsBIN(filename.c_str(), vPoints)) fail(filename, "can't be read");
	checkFinite(filename, vPoints, first);
	return header.type == BIN_TYPE_XYZ ? "binary x y z" : "binary x y";
}

// The exact decimal form of a double has at most 767 significant digits;
// anything longer is not a number, however long it goes on.
const size_t MAX_NUMBER_LENGTH(1024);

// The text as whitespace-separated numbers; '#' starts a comment up to the end of the line.
class TextScanner
{
public:
	TextScanner(const std::string& filename_, const std::string& text_, size_t firstLine = 1) : filename(filename_), text(text_), pos(0), line(firstLine) {}

	// The next number, false at the end of the text. onNewLine: whether a
	// line break (or the start) lies between this number and the last.
	bool next(double& value, bool& bOnNewLine)
	{
		bOnNewLine = (pos == 0);
		while(pos < text.size())
		{
			char c(text[pos]);
			if(c == '\n')
			{
				++line;
				bOnNewLine = true;
				++pos;
			}
			else if(c == '#')
			{
				while(pos < text.size() && text[pos] != '\n') ++pos;
			}
			else if(c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v') ++pos;
			else break;
		}
		if(pos >= text.size()) return false;
		size_t end(pos);
		while(end < text.size() && !std::strchr(" \t\r\n\f\v#", text[end]) && text[end] != '\0' && end - pos <= MAX_NUMBER_LENGTH) ++end;
		if(end == pos) end = pos + 1; // a stray NUL byte
		if(end - pos > MAX_NUMBER_LENGTH) failHere("a word of more than " + std::to_string(MAX_NUMBER_LENGTH) + " characters where a number should be");
		std::string token(text, pos, end - pos);
		char* pEnd(nullptr);
		value = std::strtod(token.c_str(), &pEnd);
		if(pEnd != token.c_str() + token.size()) failHere("'" + printable(token) + "' is not a number");
		if(!std::isfinite(value)) failHere("'" + printable(token) + "' is not a finite number");
		pos = end;
		return true;
	}
	[[noreturn]] void failHere(const std::string& problem) const { fail(filename, "line " + std::to_string(line) + ": " + problem); }
	size_t getLine() const { return line; }

private:
	static std::string printable(const std::string& token)
	{
		std::string s;
		for(char c : token.substr(0, 40)) s.push_back((c >= 32 && c < 127) ? c : '?');
		return token.size() > 40 ? s + "..." : s;
	}

	const std::string& filename;
	const std::string& text;
	size_t pos;
	size_t line;
};

const size_t MAX_LINE_LENGTH(1u << 16);

// The next line without its line feed, but never more than MAX_LINE_LENGTH + 1
// characters of it (the rest stays unread); false at the end of the file.
bool readLine(std::istream& in, std::string& line)
{
	line.clear();
	std::streambuf* pBuf(in.rdbuf());
	int c(pBuf->sbumpc());
	if(c == std::char_traits<char>::eof()) return false;
	while(c != std::char_traits<char>::eof() && c != '\n' && line.size() <= MAX_LINE_LENGTH)
	{
		line.push_back(static_cast<char>(c));
		if(line.size() <= MAX_LINE_LENGTH) c = pBuf->sbumpc();
	}
	return true;
}

std::string readText(const std::string& filename, PointFormat format, std::vector<Point2>& vPoints)
{
	std::ifstream in(filename, std::ios::binary);
	if(!in) fail(filename, "can't be read");
	std::vector<double> vGroup;
	// With AUTO every line holds one point and the first line says how many numbers.
	bool bLineBased(format == PointFormat::AUTO);
	size_t groupSize(format == PointFormat::XY ? 2 : 3);
	bool bFirstLine(true);
	size_t lineOfGroup(0);
	double value(0.0);
	bool bOnNewLine(false);
	size_t first(vPoints.size());
	auto flushLine = [&]() {
		if(vGroup.empty()) return;
		if(bFirstLine)
		{
			if(vGroup.size() != 2 && vGroup.size() != 3)
			{
				fail(filename, "line " + std::to_string(lineOfGroup) + ": " + std::to_string(vGroup.size()) + " numbers, expected 2 (x y) or 3 (x y z)");
			}
			groupSize = vGroup.size();
			bFirstLine = false;
		}
		if(vGroup.size() != groupSize)
		{
			fail(filename, "line " + std::to_string(lineOfGroup) + ": " + std::to_string(vGroup.size()) + " numbers, expected " + std::to_string(groupSize) +
					" like the first line");
		}
		vPoints.push_back(Point2(vGroup[0], vGroup[1], groupSize == 3 ? vGroup[2] : 0.0));
		vGroup.clear();
	};
	// Line by line, each at most MAX_LINE_LENGTH long: a file that is one huge
	// line is refused after that much, without being held in memory.
	std::string text;
	size_t lineNumber(0);
	while(readLine(in, text))
	{
		++lineNumber;
		if(text.size() > MAX_LINE_LENGTH) fail(filename, "line " + std::to_string(lineNumber) + " is longer than " + std::to_string(MAX_LINE_LENGTH) + " characters");
		TextScanner scanner(filename, text, lineNumber);
		while(scanner.next(value, bOnNewLine))
		{
			if(bLineBased)
			{
				if(bOnNewLine) flushLine();
				if(vGroup.empty()) lineOfGroup = scanner.getLine();
				vGroup.push_back(value);
				continue;
			}
			vGroup.push_back(value);
			if(vGroup.size() == groupSize)
			{
				vPoints.push_back(Point2(vGroup[0], vGroup[1], groupSize == 3 ? vGroup[2] : 0.0));
				vGroup.clear();
			}
		}
	}
	if(in.bad()) fail(filename, "can't be read");
	if(bLineBased) flushLine();
	else if(!vGroup.empty()) fail(filename, "ends in the middle of a point (" + std::to_string(vGroup.size()) + " of " + std::to_string(groupSize) + " numbers)");
	if(vPoints.size() == first) fail(filename, "holds no points");
	return groupSize == 3 ? "text x y z" : "text x y";
}
} // namespace

std::string readPointFile(const std::string& filename, PointFormat format, std::vector<Point2>& vPoints)
{
	uint64_t size(fileSize(filename));
	bool bBinary(format == PointFormat::BIN || (format == PointFormat::AUTO && (hasBinExtension(filename) || looksLikeBinaryPointFile(filename, size))));
	if(bBinary) return readBinary(filename, size, vPoints);
	return readText(filename, format, vPoints);
}

} // namespace mireltool
