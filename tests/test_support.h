#pragma once
// What several test files share: the exact validator of mesh_check.h as
// assertions, point sets that stress a triangulation, output capture, binary
// files, and rendering a PostScript drawing with Ghostscript.
#include "ConstraintSegment2.h"
#include "Dt2.h"
#include "MirelException.h"
#include "MsgBase.h"
#include "Mirel_2D.h"
#include "mesh_check.h"
#include <gmpxx.h>
#include <gtest/gtest.h>
#include <png.h>
#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace mtest {
using namespace MIREL25D;

inline std::string readFile(const std::string& name)
{
	std::ifstream in(name, std::ios::binary);
	std::stringstream ss;
	ss << in.rdbuf();
	return ss.str();
}

inline size_t countOf(const std::string& text, const std::string& what)
{
	size_t n(0);
	for(size_t pos = text.find(what); pos != std::string::npos; pos = text.find(what, pos + what.size())) ++n;
	return n;
}

inline void writeBytes(const std::string& name, const std::string& bytes)
{
	std::ofstream(name, std::ios::binary | std::ios::trunc) << bytes;
}

// A binary point or segment file as its readers expect it, built here field
// by field in little-endian order: a 32-bit type, a 64-bit count, the values.
inline std::string binaryFile(int32_t type, int64_t count, const std::vector<double>& vValues)
{
	std::string s;
	auto append = [&s](uint64_t value, int numBytes) {
		for(int i = 0; i < numBytes; ++i) s.push_back(char((value >> (8 * i)) & 0xffu));
	};
	append(uint32_t(type), 4);
	append(uint64_t(count), 8);
	for(double d : vValues)
	{
		uint64_t bits;
		std::memcpy(&bits, &d, 8);
		append(bits, 8);
	}
	return s;
}

// Runs the command-line tool with args; out receives its standard output
// and error. Returns the exit status, -1 where no tool was built.
inline int runTool(const std::string& args, std::string& out)
{
#ifdef MIREL_TOOL_PATH
	std::string outFile("tool_output_" + std::to_string(getpid()) + ".txt"); // ctest runs tests in parallel processes
	int status(std::system((std::string("'") + MIREL_TOOL_PATH + "' " + args + " > " + outFile + " 2>&1").c_str()));
	out = readFile(outFile);
	std::remove(outFile.c_str());
	return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#else
	static_cast<void>(args);
	out.clear();
	return -1;
#endif
}

// Byte-exact expected texts live in files under tests/data. Run the tests with
// MIREL_REGENERATE_GOLDEN=1 in the environment to write the texts produced
// instead of comparing them (then review the difference before committing).
inline void expectGolden(const std::string& name, const std::string& actual)
{
	std::string path(std::string(MIREL_TEST_DATA_DIR) + "/" + name);
	const char* regenerate(std::getenv("MIREL_REGENERATE_GOLDEN"));
	if(regenerate != nullptr && std::string(regenerate) == "1")
	{
		std::ofstream(path, std::ios::binary) << actual;
		return;
	}
	std::ifstream in(path, std::ios::binary);
	ASSERT_TRUE(bool(in)) << "missing golden file " << path << " (MIREL_REGENERATE_GOLDEN=1 writes it)";
	EXPECT_EQ(actual, readFile(path)) << "differs from " << path;
}

template<class F> std::string captureStdout(F f)
{
	testing::internal::CaptureStdout();
	f();
	return testing::internal::GetCapturedStdout();
}

// The exact validator (mesh_check.h) as test assertions.
using meshcheck::countHullPlaces;
using meshcheck::EmptyCircles;
using meshcheck::exactInCircle;
using meshcheck::exactOrientation;
using meshcheck::filteredInCircle;
using meshcheck::filteredOrientation;

inline void validateMesh(Dt2& dt, EmptyCircles emptyCircles = EmptyCircles::everyEdge)
{
	ASSERT_EQ(meshcheck::checkMesh(dt, emptyCircles), "");
}

// validateMesh, and the vertices are exactly the expected places.
inline void validate(Mirel_2D& dt, const std::vector<Point2>& vExpectedPlaces, bool bDelaunay = true)
{
	ASSERT_EQ(meshcheck::checkPlacesAndMesh(dt, vExpectedPlaces, bDelaunay ? EmptyCircles::everyEdge : EmptyCircles::ignored), "");
}

// The mesh's triangles, each as its three places sorted (the same key for
// any corner order), for comparing two triangulations.
inline std::set<std::array<std::pair<double, double>, 3>> triangleKeys(Mirel_2D& dt)
{
	std::vector<Triangle2*> vT;
	dt.getTrianglePointers(vT);
	std::set<std::array<std::pair<double, double>, 3>> s;
	auto xy = [](const Point2* p) { return std::make_pair(p->x(), p->y()); };
	for(Triangle2* pT : vT)
	{
		std::array<std::pair<double, double>, 3> key{{xy(pT->getCorner(0)), xy(pT->getCorner(1)), xy(pT->getCorner(2))}};
		std::sort(key.begin(), key.end());
		s.insert(key);
	}
	return s;
}

// Handles in input order: each maps to the vertex at its place, which carries
// the first z and custom index given there; equal places share one vertex.
inline void checkHandles(const std::vector<Point2>& vPoints, const std::vector<Point2*>& vHandles)
{
	ASSERT_EQ(vPoints.size(), vHandles.size());
	std::map<Point2, std::pair<const Point2*, Point2*>> mFirst;
	for(size_t i = 0; i < vPoints.size(); ++i)
	{
		ASSERT_NE(vHandles[i], nullptr);
		ASSERT_TRUE(*vHandles[i] == vPoints[i]);
		auto ins(mFirst.insert(std::make_pair(vPoints[i], std::make_pair(&vPoints[i], vHandles[i]))));
		ASSERT_EQ(ins.first->second.second, vHandles[i]) << "duplicate " << i << " resolves to another vertex";
		ASSERT_EQ(vHandles[i]->z(), ins.first->second.first->z()) << "the vertex keeps the first height";
		ASSERT_EQ(vHandles[i]->getCustomIndex(), ins.first->second.first->getCustomIndex()) << "the vertex keeps the first custom index";
	}
}

// Progress values as a publisher sends them; complete: several, rising, up to 100.
struct ProgressLog : MsgBase
{
	void update(MsgType, double value) override { vValues.push_back(value); }
	bool complete() const { return vValues.size() > 1 && std::is_sorted(vValues.begin(), vValues.end()) && vValues.back() == 100.0; }
	std::vector<double> vValues;
};

// ---------------------------------------------------------------------------
// Point sets; z and the custom index count the points.

inline std::vector<Point2> uniformPoints(std::mt19937& rng, size_t n, double lo, double hi)
{
	std::uniform_real_distribution<double> d(lo, hi);
	std::vector<Point2> v;
	for(size_t i = 0; i < n; ++i)
	{
		double x(d(rng)), y(d(rng));
		v.push_back(Point2(x, y, double(i)));
		v.back().setCustomIndex(int(i));
	}
	return v;
}

inline std::vector<Point2> clusteredPoints(std::mt19937& rng, size_t n)
{
	std::uniform_real_distribution<double> centre(0.0, 1000.0);
	std::normal_distribution<double> spread(0.0, 0.01);
	std::vector<Point2> v;
	for(size_t c = 0; c < 8; ++c)
	{
		double cx(centre(rng)), cy(centre(rng));
		for(size_t i = 0; i < n / 8; ++i) v.push_back(Point2(cx + spread(rng), cy + spread(rng), double(v.size())));
	}
	return v;
}

inline std::vector<Point2> gridPoints(int nx, int ny, double step, double offset)
{
	std::vector<Point2> v;
	for(int i = 0; i < nx; ++i)
		for(int j = 0; j < ny; ++j) v.push_back(Point2(offset + i * step, offset + j * step, double(i - j)));
	return v;
}

// Exactly cocircular integer points: Pythagorean directions on a radius that
// all their hypotenuses divide, times scale.
inline std::vector<Point2> circlePoints(size_t n, double scale)
{
	const double r(12882250225.0 * scale);
	std::vector<Point2> v;
	const int aTriples[][3] = {{3, 4, 5}, {5, 12, 13}, {8, 15, 17}, {7, 24, 25}, {20, 21, 29}, {12, 35, 37}, {9, 40, 41}, {28, 45, 53}};
	for(const auto& t : aTriples)
	{
		double s(r / t[2]);
		for(int sx = -1; sx <= 1; sx += 2)
			for(int sy = -1; sy <= 1; sy += 2)
			{
				v.push_back(Point2(sx * t[0] * s, sy * t[1] * s, 0.0));
				v.push_back(Point2(sx * t[1] * s, sy * t[0] * s, 0.0));
			}
	}
	for(const Point2& p : {Point2(r, 0, 0), Point2(-r, 0, 0), Point2(0, r, 0), Point2(0, -r, 0)}) v.push_back(p);
	if(v.size() > n) v.resize(n);
	return v;
}

// Points on three crossing lines.
inline std::vector<Point2> collinearRuns(std::mt19937& rng, size_t n)
{
	std::uniform_int_distribution<int> d(-50, 50);
	std::vector<Point2> v;
	for(size_t i = 0; i < n; ++i)
	{
		int t(d(rng));
		switch(i % 3)
		{
			case 0: v.push_back(Point2(t, 2 * t + 1, 1.0)); break; // on y = 2x + 1
			case 1: v.push_back(Point2(t, -t, 2.0)); break; // on y = -x
			default: v.push_back(Point2(d(rng), 7, 3.0)); break; // on y = 7
		}
	}
	return v;
}

// v followed by as many later copies of its points, partly shuffled in.
inline std::vector<Point2> withDuplicates(std::mt19937& rng, std::vector<Point2> v)
{
	std::uniform_int_distribution<size_t> pick(0, v.size() - 1);
	size_t n(v.size());
	for(size_t i = 0; i < n; ++i)
	{
		Point2 p(v[pick(rng)]);
		p.setZ(-1000.0 - double(i)); // a later copy: its z must not win
		v.push_back(p);
	}
	std::shuffle(v.begin() + long(n / 2), v.end(), rng);
	return v;
}

// ---------------------------------------------------------------------------
// Rendering PostScript drawings with Ghostscript

inline bool ghostscriptAvailable()
{
	return std::system("gs --version > /dev/null 2>&1") == 0;
}

// An image: width, height and RGB bytes.
struct Image
{
	int width = 0, height = 0;
	std::string rgb;
};

// Reads a PNG file as RGB bytes.
inline bool readPng(const std::string& name, Image& img)
{
	png_image image{};
	image.version = PNG_IMAGE_VERSION;
	if(!png_image_begin_read_from_file(&image, name.c_str())) return false;
	image.format = PNG_FORMAT_RGB;
	img.rgb.resize(PNG_IMAGE_SIZE(image));
	img.width = int(image.width);
	img.height = int(image.height);
	return png_image_finish_read(&image, nullptr, &img.rgb[0], 0, nullptr) != 0;
}

// Renders psFile with Ghostscript at the given resolution into pngFile and
// `image`. False, with Ghostscript's output in log, if Ghostscript fails or
// reports an error.
inline bool render(const std::string& psFile, const std::string& pngFile, int dpi, Image& image, std::string& log)
{
	std::string logFile(psFile + ".gs.log");
	bool bOk(std::system(("gs -q -dSAFER -dBATCH -dNOPAUSE -r" + std::to_string(dpi) + " -sDEVICE=png16m -sOutputFile=" + pngFile + " " + psFile + " > " +
							 logFile + " 2>&1").c_str()) == 0);
	log = readFile(logFile);
	return bOk && log.find("Error") == std::string::npos && readPng(pngFile, image);
}

inline size_t countNonWhite(const Image& img)
{
	size_t n(0);
	for(size_t i = 0; i + 2 < img.rgb.size(); i += 3) n += img.rgb.compare(i, 3, "\xff\xff\xff") != 0;
	return n;
}

// Pixels of a strong primary colour: channel 0 red, 1 green, 2 blue.
inline size_t countPrimary(const Image& img, int channel)
{
	size_t n(0);
	for(size_t i = 0; i + 2 < img.rgb.size(); i += 3)
		n += (unsigned char)img.rgb[i + size_t(channel)] > 200 && (unsigned char)img.rgb[i + size_t(channel + 1) % 3] < 60 && (unsigned char)img.rgb[i + size_t(channel + 2) % 3] < 60;
	return n;
}

} // namespace mtest
