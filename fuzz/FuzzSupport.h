#pragma once
// What the fuzz harnesses share: a decoder that turns fuzz bytes into the
// coordinates that are hard for a triangulation (grid values, points one ulp
// apart, huge offsets, subnormal spreads, repeats, raw doubles including NaN
// and infinities), and the tests' independent exact validator (mesh_check.h),
// which here aborts on the first broken property.
#include "Mirel25D.h"
#include "mesh_check.h"
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iostream>
#include <limits>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace fuzz {
using namespace MIREL25D;

#define FUZZ_CHECK(cond)                                                                  \
	do                                                                                    \
	{                                                                                     \
		if(!(cond))                                                                       \
		{                                                                                 \
			std::fprintf(stderr, "FUZZ_CHECK failed: %s (%s:%d)\n", #cond, __FILE__, __LINE__); \
			std::abort();                                                                 \
		}                                                                                 \
	} while(0)

// Messages of the library go to standard output; a fuzzer run would drown in them.
// Keeps standard output, where the library's messages go, off the screen and
// remembers whether the library gave up a constraint because double precision
// could not split it further: it says so ("Incorrect result!", "need to skip
// last insertions"), and pieces may then be left that are no edges.
struct QuietStdout
{
	QuietStdout() : pOld(std::cout.rdbuf(captured.rdbuf())) {}
	~QuietStdout() { std::cout.rdbuf(pOld); }
	bool libraryGaveUp()
	{
		std::string text(captured.str());
		captured.str("");
		bGaveUp = bGaveUp || text.find("Incorrect result!") != std::string::npos || text.find("skip last insertions") != std::string::npos;
		return bGaveUp;
	}

private:
	std::ostringstream captured;
	std::streambuf* pOld;
	bool bGaveUp = false;
};

class Bytes
{
public:
	Bytes(const uint8_t* data_, size_t size_) : data(data_), size(size_), pos(0) {}
	bool empty() const { return pos >= size; }
	uint8_t byte()
	{
		return pos < size ? data[pos++] : 0;
	}
	uint32_t below(uint32_t n) { return n == 0 ? 0 : byte() % n; }
	uint64_t u64()
	{
		uint64_t v(0);
		for(int i = 0; i < 8; ++i) v |= uint64_t(byte()) << (8 * i);
		return v;
	}
	double rawDouble()
	{
		uint64_t bits(u64());
		double d;
		std::memcpy(&d, &bits, 8);
		return d;
	}

	// One coordinate; bFinite excludes NaN and infinities. Earlier values are
	// remembered so that repeats and one-ulp neighbours are common.
	double coordinate(bool bFinite = true)
	{
		double v(0.0);
		switch(byte() % 10)
		{
			case 0:
			case 1: v = double(int(byte() % 17) - 8); break; // a small grid
			case 2: v = 1e9 + double(int(byte() % 33) - 16) * 0.25; break; // grid with a huge offset
			case 3: // one to three ulps away from an earlier value
			{
				double base(recall());
				int steps(1 + byte() % 3);
				double dir(byte() % 2 ? std::numeric_limits<double>::infinity() : -std::numeric_limits<double>::infinity());
				for(int i = 0; i < steps; ++i) base = std::nextafter(base, dir);
				v = base;
				break;
			}
			case 4: v = recall(); break; // a repeat
			case 5: v = double(int(byte() % 9) - 4) * 4.9406564584124654e-324 * double(1 + byte() % 4); break; // subnormal spread
			case 6: v = (byte() % 2 ? 1.0 : -1.0) * 1e300 * double(1 + byte() % 8) / 8.0; break; // at the edge of the range
			case 7: v = double(int(byte() % 201) - 100) / 7.0; break; // values with rounding
			case 8:
			{
				v = rawDouble();
				if(bFinite && !std::isfinite(v)) v = 0.5;
				break;
			}
			default: v = double(int16_t(uint16_t(byte()) | uint16_t(byte()) << 8)) / 64.0; break;
		}
		if(bFinite && !std::isfinite(v)) v = 1.0;
		vRecent.push_back(v);
		return v;
	}
	Point2 point(bool bFinite = true)
	{
		double x(coordinate(bFinite)), y(coordinate(bFinite));
		return Point2(x, y, double(byte()));
	}

private:
	double recall() { return vRecent.empty() ? 0.0 : vRecent[byte() % vRecent.size()]; }
	const uint8_t* data;
	size_t size;
	size_t pos;
	std::vector<double> vRecent;
};

using meshcheck::exactInCircle;
using meshcheck::exactOrientation;

// The places are exactly the vertices, and the mesh passes the shared exact
// validator; with bDelaunay every edge that is not a constraint piece is Delaunay.
inline void validate(Mirel_2D& dt, const std::vector<Point2>& vPlaces, bool bDelaunay, bool bPiecesAreEdges = true)
{
	std::string problem(meshcheck::checkPlacesAndMesh(dt, vPlaces, bDelaunay ? meshcheck::EmptyCircles::exceptConstraints : meshcheck::EmptyCircles::ignored,
		bPiecesAreEdges));
	if(problem.empty()) return;
	std::fprintf(stderr, "FUZZ_CHECK failed: %s\n", problem.c_str());
	std::abort();
}

} // namespace fuzz
