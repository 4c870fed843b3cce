#include "TerrainModel.h"
#include "Commands.h"
#include "GeomTest.h"
#include "MeshOutput.h"
#include "MirelExport.h"
#include "ProgressBar.h"
#include "SegmentChecker.h"
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <limits>
#include <sstream>
#include <unistd.h>

namespace mireltool {

using namespace MIREL25D;
namespace fs = std::filesystem;

// ---------------------------------------------------------------------------
// Summary
// ---------------------------------------------------------------------------

std::string exactText(double value)
{
	// Plain digits for the magnitudes of coordinates and heights (no
	// "5e+06" for a northing), exponents only beyond them.
	char aText[64];
	double magnitude(std::fabs(value));
	bool bFixed(magnitude == 0.0 || (magnitude >= 1e-5 && magnitude < 1e16));
	std::to_chars_result res(bFixed ? std::to_chars(aText, aText + sizeof(aText), value, std::chars_format::fixed)
									: std::to_chars(aText, aText + sizeof(aText), value));
	return std::string(aText, res.ptr);
}

namespace {
std::string jsonString(const std::string& text)
{
	std::string out("\"");
	for(char c : text)
	{
		if(c == '"' || c == '\\') out += std::string("\\") + c;
		else if(static_cast<unsigned char>(c) < 0x20)
		{
			char aHex[8];
			std::snprintf(aHex, sizeof(aHex), "\\u%04x", unsigned(c));
			out += aHex;
		}
		else out += c;
	}
	return out + "\"";
}
} // namespace

void Summary::add(const std::string& key, double value)
{
	// JSON has no NaN or infinity.
	vEntries.push_back({key, std::isfinite(value) ? exactText(value) : "null", exactText(value)});
}

void Summary::addCount(const std::string& key, unsigned long long value)
{
	vEntries.push_back({key, std::to_string(value), std::to_string(value)});
}

void Summary::addText(const std::string& key, const std::string& text)
{
	vEntries.push_back({key, jsonString(text), text});
}

void Summary::print(std::ostream& out, const std::string& command, bool bJson) const
{
	if(bJson)
	{
		out << "{\"command\": " << jsonString(command);
		for(const Entry& e : vEntries) out << ", " << jsonString(e.key) << ": " << e.json;
		out << "}" << std::endl;
		return;
	}
	out << "mirel " << command << "\n";
	for(const Entry& e : vEntries)
	{
		std::string label(e.key);
		for(char& c : label) c = (c == '_') ? ' ' : c;
		out << "  " << std::left << std::setw(26) << label << " " << e.text << "\n";
	}
	out << std::flush;
}

// ---------------------------------------------------------------------------
// Options
// ---------------------------------------------------------------------------

std::vector<OptionDef> withCommonOptions(const std::vector<OptionDef>& vOwn, unsigned groups)
{
	std::vector<OptionDef> v(vOwn);
	if(groups & OG_TERRAIN)
	{
		v.push_back({"format", 'f', true, "FMT", "point files: auto (default), xy, xyz (text, numbers taken 2 or 3 at a time) or bin"});
		v.push_back({"thin", 0, true, "K", "raster input: keep every K-th row and column (default 1)"});
		v.push_back({"breaklines", 0, true, "FILE", "vector file whose lines (and polygon rings) become constraint edges"});
		v.push_back({"boundary", 0, true, "FILE", "vector file whose polygons bound the area: outer rings and holes"});
	}
	if(groups & OG_OUTPUT)
	{
		v.push_back({"output-dir", 'o', true, "DIR", "folder for the results, created if missing (default mirel_out)"});
		v.push_back({"name", 0, true, "NAME", "base name of the results (default: the input's name)"});
	}
	if(groups & OG_FILES)
	{
		v.push_back({"ps", 0, false, "", "also write the PostScript drawing NAME.ps"});
		v.push_back({"obj", 0, false, "", "also write the OBJ mesh NAME.obj"});
	}
	v.push_back({"threads", 't', true, "N", "threads for the triangulation: N > 0 as given, 0 all hardware threads (default 1)"});
	v.push_back({"json", 0, false, "", "print the summary as one JSON object"});
	v.push_back({"progress", 0, false, "", "draw the progress bar even when standard error is not a terminal"});
	v.push_back({"quiet", 'q', false, "", "no progress bar"});
	v.push_back({"help", 'h', false, "", "this help"});
	return v;
}

double getNumber(const ParsedOptions& opts, const std::string& name, double defaultValue, double minValue, double maxValue, bool bMinExcluded)
{
	if(!opts.has(name)) return defaultValue;
	std::string text(opts.get(name, ""));
	char* pEnd(nullptr);
	double value(std::strtod(text.c_str(), &pEnd));
	if(text.empty() || *pEnd != '\0' || !std::isfinite(value) || value < minValue || value > maxValue || (bMinExcluded && value == minValue))
	{
		std::ostringstream oss;
		oss << "--" << name << " expects a number " << (bMinExcluded ? "above " : "from ") << minValue;
		if(maxValue < std::numeric_limits<double>::max()) oss << " to " << maxValue;
		oss << ", not '" << text << "'";
		throw UsageError{oss.str()};
	}
	return value;
}

std::vector<std::string> getInputs(const ParsedOptions& opts, const std::vector<std::string>& vNames)
{
	const std::vector<std::string>& v(opts.getPositional());
	if(v.size() < vNames.size()) throw UsageError{"missing " + vNames[v.size()]};
	if(v.size() > vNames.size()) throw UsageError{"unexpected argument '" + v[vNames.size()] + "'"};
	return v;
}

std::string stemOf(const std::string& path)
{
	std::string stem(fs::path(path).stem().string());
	return stem.empty() ? "mesh" : stem;
}

CommonSettings readCommonSettings(const ParsedOptions& opts, const std::string& defaultName)
{
	CommonSettings s;
	s.format = parsePointFormat(opts.get("format", "auto"));
	s.thinning = int(opts.getInteger("thin", 1, 1, 1000000));
	s.breaklinesFile = opts.get("breaklines", "");
	s.boundaryFile = opts.get("boundary", "");
	if((opts.has("breaklines") && s.breaklinesFile.empty()) || (opts.has("boundary") && s.boundaryFile.empty())) throw UsageError{"--breaklines and --boundary need a file name"};
	s.outputFolder = opts.get("output-dir", s.outputFolder);
	if(s.outputFolder.empty()) throw UsageError{"--output-dir needs a folder name"};
	s.name = opts.get("name", defaultName);
	if(s.name.empty() || s.name.find('/') != std::string::npos || s.name == "." || s.name == "..")
	{
		throw UsageError{"--name expects a plain file name without folders, not '" + s.name + "'"};
	}
	s.bPs = opts.has("ps");
	s.bObj = opts.has("obj");
	s.bJson = opts.has("json");
	s.numThreads = int(opts.getInteger("threads", 1, 0, 1024));
	s.bProgress = !opts.has("quiet") && (opts.has("progress") || isatty(fileno(stderr)));
	return s;
}

std::string vectorOutputPath(const ParsedOptions& opts, const CommonSettings& s, const std::string& suffix)
{
	if(!opts.has("output")) return (fs::path(s.outputFolder) / (s.name + suffix)).string();
	std::string path(opts.get("output", ""));
	if(path.empty() || fs::path(path).filename().empty()) throw UsageError{"--output expects a file name, not '" + path + "'"};
	std::string folder(fs::path(path).parent_path().string());
	prepareOutputFolder(folder.empty() ? "." : folder);
	return path;
}

// ---------------------------------------------------------------------------
// The command frame
// ---------------------------------------------------------------------------

namespace {
// Sends standard output to standard error until destroyed, so that library
// messages stay out of a JSON summary.
class StdoutToStderr
{
public:
	explicit StdoutToStderr(bool bActive) : pSaved(bActive ? std::cout.rdbuf(std::cerr.rdbuf()) : nullptr) {}
	~StdoutToStderr() { restore(); }
	void restore()
	{
		if(pSaved != nullptr) std::cout.rdbuf(pSaved);
		pSaved = nullptr;
	}

private:
	std::streambuf* pSaved;
};
} // namespace

std::string commandHelp(const Command& cmd)
{
	return std::string("Usage: mirel ") + cmd.name + " " + cmd.usage + "\n\n" + cmd.summary + "\n\nOptions:\n" + formatOptions(cmd.options());
}

int runCommand(const Command& cmd, const std::vector<std::string>& vArgs)
{
	const std::string name(cmd.name);
	try
	{
		ParsedOptions opts(parseOptions(cmd.options(), vArgs));
		if(opts.has("help"))
		{
			std::cout << commandHelp(cmd);
			return EXIT_OK;
		}
		Summary summary;
		StdoutToStderr redirect(opts.has("json"));
		cmd.body(opts, summary);
		redirect.restore();
		summary.print(std::cout, name, opts.has("json"));
		return EXIT_OK;
	}
	catch(const UsageError& e)
	{
		printError(e.message + " (see mirel " + name + " --help)");
		return EXIT_USAGE;
	}
	catch(const InputError& e)
	{
		printError(e.message);
	}
	catch(const OutputError& e)
	{
		printError(e.message);
	}
	return EXIT_FAILED;
}

// ---------------------------------------------------------------------------
// The terrain
// ---------------------------------------------------------------------------

namespace {
std::string place(const Point2& p)
{
	return "(" + exactText(p.x()) + ", " + exactText(p.y()) + ")";
}

// The ring without repeated consecutive corners or a closing repetition.
std::vector<Point2> cleanRing(std::vector<Point2> vRing)
{
	std::vector<Point2> v;
	for(const Point2& p : vRing)
	{
		if(v.empty() || !(v.back() == p)) v.push_back(p);
	}
	while(v.size() > 1 && v.front() == v.back()) v.pop_back();
	return v;
}

// Whether the simple ring runs counterclockwise: decided exactly at its
// lowest-leftmost corner, which is convex.
bool isCounterclockwise(const std::vector<Point2>& vRing)
{
	size_t m(0);
	for(size_t i = 1; i < vRing.size(); ++i)
	{
		if(vRing[i] < vRing[m]) m = i;
	}
	const Point2& prev(vRing[(m + vRing.size() - 1) % vRing.size()]);
	const Point2& next(vRing[(m + 1) % vRing.size()]);
	return getOrientation2(&prev, &vRing[m], &next) == ORIENTATION2_CCW;
}

// A progress bar on a triangulation for the lifetime of the object.
class ProgressScope
{
public:
	ProgressScope(Mirel_2D& dt_, const char* label, bool bActive) : dt(dt_), bar(stderr, label), bOn(bActive)
	{
		if(bOn) dt.subscribe(MSG_PROGRESS, &bar);
	}
	~ProgressScope()
	{
		if(bOn) dt.unsubscribe(MSG_PROGRESS, &bar);
	}

private:
	Mirel_2D& dt;
	ProgressBar bar;
	bool bOn;
};
} // namespace

TerrainModel::TerrainModel(const CommonSettings& settings_) : settings(settings_) {}

TerrainModel::~TerrainModel() = default;

void TerrainModel::load(const std::string& inputFile)
{
	std::vector<Point2> vPoints;
	readPoints(inputFile, vPoints);
	loadPoints(vPoints, inputFile);
}

void TerrainModel::readPoints(const std::string& inputFile, std::vector<Point2>& vPoints)
{
	source = readTerrainPoints(inputFile, settings.format, settings.thinning, vPoints);
}

void TerrainModel::loadPoints(std::vector<Point2>& vPoints, const std::string& inputFile)
{
	build(vPoints, inputFile);
	if(!settings.breaklinesFile.empty()) addBreaklines(settings.breaklinesFile);
	if(!settings.boundaryFile.empty()) addBoundary(settings.boundaryFile);
}

void TerrainModel::setOrigin(double x, double y)
{
	originX = x;
	originY = y;
}

void exactOrigin(const std::vector<std::vector<Point2>*>& vSets, double& x, double& y)
{
	double aMin[2] = {std::numeric_limits<double>::max(), std::numeric_limits<double>::max()}, aMax[2] = {0.0, 0.0};
	bool bPositive(true);
	for(const std::vector<Point2>* pSet : vSets)
	{
		for(const Point2& p : *pSet)
		{
			bPositive = bPositive && p.x() > 0.0 && p.y() > 0.0;
			aMin[0] = std::min(aMin[0], p.x());
			aMin[1] = std::min(aMin[1], p.y());
			aMax[0] = std::max(aMax[0], p.x());
			aMax[1] = std::max(aMax[1], p.y());
		}
	}
	// Sterbenz: a - b is exact for b / 2 <= a <= 2 b.
	bool bExact(bPositive && aMax[0] <= 2.0 * aMin[0] && aMax[1] <= 2.0 * aMin[1]);
	x = bExact ? aMin[0] : 0.0;
	y = bExact ? aMin[1] : 0.0;
}

void TerrainModel::build(std::vector<Point2>& vPoints, const std::string& what_)
{
	what = what_;
	numInputPoints = vPoints.size();
	if(source.description.empty()) source.description = what;
	pDt.reset(new Mirel_2D(static_cast<unsigned>(std::min<size_t>(vPoints.size(), 2000000000u))));
	pDt->setName(settings.name.c_str());
	pDt->setNumCPU(settings.numThreads);
	for(Point2& p : vPoints) p.setCoords(p.x() - originX, p.y() - originY, p.z());
	{
		ProgressScope progress(*pDt, "triangulate", settings.bProgress);
		pDt->insert(vPoints);
	}
	std::vector<Point2>().swap(vPoints);
	numDuplicates = numInputPoints - pDt->numberOfPoints();
	if(!pDt->hasArea())
	{
		throw InputError{what + ": the " + std::to_string(pDt->numberOfPoints()) + " distinct points lie on one line, there is nothing to triangulate"};
	}
}

std::vector<Point2> TerrainModel::liftOnto(const std::string& file, const std::vector<Point2>& vLine, bool bHasZ, const char* kind)
{
	std::vector<Point2> v;
	for(const Point2& p : vLine)
	{
		double z(0.0);
		Point2 q(p.x() - originX, p.y() - originY, p.z());
		if(!pDt->getHeight(q.x(), q.y(), z)) throw InputError{file + ": " + kind + " corner " + place(p) + " lies outside the terrain of " + what};
		v.push_back(Point2(q.x(), q.y(), bHasZ ? p.z() : z));
	}
	return v;
}

void TerrainModel::addBreaklines(const std::string& file)
{
	VectorData data(readVectorFile(file));
	std::vector<std::vector<Point2>> vLines(data.vLines);
	for(const PolygonRings& polygon : data.vPolygons)
	{
		vLines.push_back(polygon.vOuter);
		vLines.back().push_back(polygon.vOuter.front());
		for(const std::vector<Point2>& vHole : polygon.vHoles)
		{
			vLines.push_back(vHole);
			vLines.back().push_back(vHole.front());
		}
	}
	std::vector<Segment2> vSegments;
	for(const std::vector<Point2>& vLine : vLines)
	{
		std::vector<Point2> vLifted(liftOnto(file, vLine, data.bHasZ, "breakline"));
		for(size_t i = 1; i < vLifted.size(); ++i)
		{
			if(!(vLifted[i - 1] == vLifted[i])) vSegments.push_back(Segment2(vLifted[i - 1], vLifted[i]));
		}
	}
	if(vSegments.empty()) throw InputError{file + ": no line to use as a breakline"};
	numBreaklines = vLines.size();
	pDt->createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY);
}

void TerrainModel::addBoundary(const std::string& file)
{
	VectorData data(readVectorFile(file));
	// Rings with their role: outer rings counterclockwise, holes clockwise.
	std::vector<std::pair<std::vector<Point2>, bool>> vRings;
	for(const PolygonRings& polygon : data.vPolygons)
	{
		vRings.push_back({polygon.vOuter, true});
		for(const std::vector<Point2>& vHole : polygon.vHoles) vRings.push_back({vHole, false});
	}
	// Without polygons, closed lines serve as outer rings.
	for(size_t i = 0; vRings.empty() && i < data.vLines.size(); ++i)
	{
		const std::vector<Point2>& vLine(data.vLines[i]);
		if(vLine.size() < 4 || !(vLine.front() == vLine.back())) throw InputError{file + ": the boundary line starting at " + place(vLine.front()) + " is not closed"};
	}
	if(vRings.empty())
	{
		for(const std::vector<Point2>& vLine : data.vLines) vRings.push_back({vLine, true});
	}
	if(vRings.empty()) throw InputError{file + ": no polygon to use as the boundary"};

	std::vector<Segment2> vAllSegments;
	for(auto& ring : vRings)
	{
		ring.first = cleanRing(ring.first);
		if(ring.first.size() < 3) throw InputError{file + ": the boundary ring at " + place(ring.first.front()) + " has fewer than 3 corners"};
		for(size_t i = 0; i < ring.first.size(); ++i) vAllSegments.push_back(Segment2(ring.first[i], ring.first[(i + 1) % ring.first.size()]));
	}
	std::vector<Segment2*> vPtrs;
	for(Segment2& seg : vAllSegments) vPtrs.push_back(&seg);
	SegmentChecker checker(vPtrs);
	std::vector<Segment2*> vIllegal;
	checker.getIllegalSegments(false, vIllegal);
	if(!vIllegal.empty()) throw InputError{file + ": the boundary intersects itself at the edge from " + place(vIllegal.front()->getSrc()) + " to " + place(vIllegal.front()->getTrg())};

	std::vector<ConstraintGraph2*> vGraphs;
	for(auto& ring : vRings)
	{
		std::vector<Point2> v(liftOnto(file, ring.first, data.bHasZ, "boundary"));
		if(isCounterclockwise(v) != ring.second) std::reverse(v.begin(), v.end());
		std::vector<Segment2> vSegments;
		for(size_t i = 0; i < v.size(); ++i) vSegments.push_back(Segment2(v[i], v[(i + 1) % v.size()]));
		vGraphs.push_back(pDt->createConstraint(vSegments, CIS_CONSTRAINED_DELAUNAY, true));
	}
	numRings = vRings.size();
	pZone = pDt->createZone(vGraphs, ZL_INSIDE, false);
	if(pZone == nullptr || pZone->getNumberOfTriangles() == 0) throw InputError{file + ": the boundary encloses no part of the terrain"};
}

void TerrainModel::getTriangles(std::vector<Triangle2*>& vT)
{
	vT.clear();
	if(pZone != nullptr) pZone->getTriangles(vT);
	else pDt->getTrianglePointers(vT);
}

void TerrainModel::summarize(Summary& summary, const std::string& prefix)
{
	summary.addText(prefix + "input", what + " (" + source.description + ")");
	summary.addCount(prefix + "points", numInputPoints);
	summary.addCount(prefix + "vertices", pDt->numberOfPoints());
	summary.addCount(prefix + "duplicates", numDuplicates);
	summary.addCount(prefix + "triangles", pDt->numberOfTriangles());
	if(numBreaklines > 0) summary.addCount(prefix + "breaklines", numBreaklines);
	if(pZone != nullptr)
	{
		summary.addCount(prefix + "boundary_rings", numRings);
		summary.addCount(prefix + "zone_triangles", pZone->getNumberOfTriangles());
		summary.add(prefix + "zone_area", pZone->getArea2D());
	}
}

void TerrainModel::writeFiles(Summary& summary, const std::string& title, bool bReleaseAfter)
{
	if(!settings.bPs && !settings.bObj) return;
	std::vector<Triangle2*> vT;
	getTriangles(vT);
	if(settings.bPs)
	{
		PendingFile ps(settings.outputFolder, settings.name + ".ps");
		if(!writeTerrainDrawing(*pDt, vT, ps.getTempPath(), title)) throw OutputError{ps.getFinalPath() + ": can't be written"};
		ps.commit();
		summary.addText("drawing", ps.getFinalPath());
	}
	if(settings.bObj)
	{
		PendingFile obj(settings.outputFolder, settings.name + ".obj");
		bool bOk(false);
		if(pZone != nullptr || originX != 0.0 || originY != 0.0) bOk = writeObjExact(vT, obj.getTempPath(), originX, originY);
		else
		{
			vT.clear();
			MirelExport mesh;
			pDt->exportTriangulation(mesh, false, bReleaseAfter);
			bOk = writeObjExact(mesh, obj.getTempPath());
		}
		if(!bOk) throw OutputError{obj.getFinalPath() + ": can't be written"};
		obj.commit();
		summary.addText("mesh", obj.getFinalPath());
	}
}

} // namespace mireltool
