#pragma once
// What the terrain commands share: their common options, the frame that turns
// options, errors and the summary into output and exit codes, and the terrain
// itself, read into a triangulation with breaklines as constraints and a site
// boundary as a zone.
#include "CommandLine.h"
#include "Commands.h"
#include "GeoData.h"
#include "Mirel_2D.h"
#include <memory>
#include <string>
#include <vector>

namespace mireltool {

// What a command reports, printed at its end either as aligned "key value"
// lines or, with --json, as one JSON object. Numbers keep their full
// precision (the shortest text that reads back to the same double).
class Summary
{
public:
	// Keys are written with underscores; the text form shows them as spaces.
	void add(const std::string& key, double value);
	void addCount(const std::string& key, unsigned long long value);
	void addText(const std::string& key, const std::string& text);
	void print(std::ostream& out, const std::string& command, bool bJson) const;

private:
	struct Entry
	{
		std::string key, json, text;
	};
	std::vector<Entry> vEntries;
};

// Groups of shared options a command takes besides its own (threads, json,
// progress, quiet and help are always there).
enum OptionGroup : unsigned
{
	OG_TERRAIN = 1, // --format, --thin, --breaklines, --boundary
	OG_OUTPUT = 2, // --output-dir, --name
	OG_FILES = 4 // --ps, --obj
};
std::vector<OptionDef> withCommonOptions(const std::vector<OptionDef>& vOwn, unsigned groups);

struct CommonSettings
{
	PointFormat format = PointFormat::AUTO;
	int thinning = 1;
	std::string breaklinesFile, boundaryFile;
	std::string outputFolder = "mirel_out";
	std::string name;
	bool bPs = false, bObj = false, bJson = false, bProgress = false;
	int numThreads = 1;
};
// defaultName: the base name of the results when --name is not given.
CommonSettings readCommonSettings(const ParsedOptions& opts, const std::string& defaultName);
// A number option; anything else, or a value outside [minValue, maxValue]
// (or equal to minValue with bMinExcluded), is a UsageError.
double getNumber(const ParsedOptions& opts, const std::string& name, double defaultValue, double minValue, double maxValue, bool bMinExcluded);
// The positional arguments, exactly as many as vNames names.
std::vector<std::string> getInputs(const ParsedOptions& opts, const std::vector<std::string>& vNames);
// A file name's stem, the default base name of results.
std::string stemOf(const std::string& path);
// A vector output: --output if given (its folder is prepared), otherwise
// DIR/NAME<suffix>.
std::string vectorOutputPath(const ParsedOptions& opts, const CommonSettings& s, const std::string& suffix);

// A terrain: its points triangulated, breaklines as constraints, a boundary's
// polygons (outer rings and holes) as the zone. Every vertex of a breakline or
// boundary must lie on the terrain; 2D ones take the surface height there.
class TerrainModel
{
public:
	explicit TerrainModel(const CommonSettings& settings_);
	~TerrainModel();
	// Reads the terrain, then the breaklines and the boundary of the settings.
	void load(const std::string& inputFile);
	// The same in two steps: the points, then all the rest.
	void readPoints(const std::string& inputFile, std::vector<MIREL25D::Point2>& vPoints);
	void loadPoints(std::vector<MIREL25D::Point2>& vPoints, const std::string& inputFile);
	// Triangulates the given points (released on return); what names them in messages.
	void build(std::vector<MIREL25D::Point2>& vPoints, const std::string& what);
	// Work in plan coordinates relative to (x, y): every input point is moved
	// by it before it goes in (exactly, see exactOrigin), results are moved back.
	void setOrigin(double x, double y);
	void addBreaklines(const std::string& file);
	void addBoundary(const std::string& file);

	MIREL25D::Mirel_2D& dt() { return *pDt; }
	// The zone of the boundary, null without one.
	MIREL25D::Zone2* getZone() const { return pZone; }
	// The zone's triangles, or all of them.
	void getTriangles(std::vector<MIREL25D::Triangle2*>& vT);
	const std::string& getCrs() const { return source.crsWkt; }
	const std::string& getWhat() const { return what; }
	// Points read, distinct vertices, triangles, constraints, source.
	void summarize(Summary& summary, const std::string& prefix = "");
	// NAME.ps and NAME.obj as the settings ask; bReleaseAfter lets the OBJ
	// export free the triangulation (the model is empty afterwards).
	void writeFiles(Summary& summary, const std::string& title, bool bReleaseAfter);

private:
	std::vector<MIREL25D::Point2> liftOnto(const std::string& file, const std::vector<MIREL25D::Point2>& vLine, bool bHasZ, const char* kind);

	CommonSettings settings;
	std::unique_ptr<MIREL25D::Mirel_2D> pDt;
	MIREL25D::Zone2* pZone = nullptr;
	TerrainSource source;
	std::string what;
	size_t numInputPoints = 0;
	size_t numDuplicates = 0;
	double originX = 0.0, originY = 0.0;
	size_t numBreaklines = 0;
	size_t numRings = 0;
};

// An origin for the points that subtracting leaves exact (both coordinates
// within a factor of 2 of it, as survey coordinates are), or (0, 0). Near the
// origin the doubles are finer, which the construction of new points (the
// zero lines of cut and fill) needs at survey coordinates.
void exactOrigin(const std::vector<std::vector<MIREL25D::Point2>*>& vSets, double& x, double& y);

// The shortest decimal text that reads back to the same double.
std::string exactText(double value);

} // namespace mireltool
