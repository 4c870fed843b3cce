// Cut and fill of two unrelated random terrains over the same square: the
// time of go() and the peak memory it adds to the two input triangulations.
// No peer library offers this computation, so it runs alone; sizes double
// from the first argument (default 125000) up to the second (default 500000)
// points per terrain, to show that time and memory grow linearly.
//
//   bench_cut_and_fill [minPoints [maxPoints]]
#include "CutAndFill.h"
#include "Mirel_2D.h"
#include "Zone2.h"
#include <sys/resource.h>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

using namespace MIREL25D;

namespace {

// Peak resident memory of the process so far, in MiB.
double peakMiB()
{
	rusage usage;
	getrusage(RUSAGE_SELF, &usage);
	return double(usage.ru_maxrss) / 1024.0;
}

// Current resident memory, in MiB.
double currentMiB()
{
	FILE* pFile(std::fopen("/proc/self/statm", "r"));
	if(pFile == nullptr) return 0.0;
	long pages(0), resident(0);
	if(std::fscanf(pFile, "%ld %ld", &pages, &resident) != 2) resident = 0;
	std::fclose(pFile);
	return double(resident) * 4096.0 / (1024.0 * 1024.0);
}

void makeTerrain(Mirel_2D& dt, size_t n, unsigned seed, double phase)
{
	std::mt19937_64 rng(seed);
	std::uniform_real_distribution<double> coord(0.0, 1000.0);
	std::vector<Point2> vPoints{Point2(0, 0, 0), Point2(1000, 0, 0), Point2(1000, 1000, 0), Point2(0, 1000, 0)};
	vPoints.reserve(n + 4);
	for(size_t i = 0; i < n; ++i)
	{
		double x(coord(rng)), y(coord(rng));
		vPoints.push_back(Point2(x, y, 20.0 * std::sin(x / 90.0 + phase) * std::cos(y / 70.0) + 0.01 * x));
	}
	for(size_t i = 0; i < 4; ++i)
	{
		const Point2& p(vPoints[i]);
		vPoints[i].setZ(20.0 * std::sin(p.x() / 90.0 + phase) * std::cos(p.y() / 70.0) + 0.01 * p.x());
	}
	dt.insert(vPoints);
}

} // namespace

int main(int argc, char** argv)
{
	size_t minPoints(argc > 1 ? size_t(std::atol(argv[1])) : 125000);
	size_t maxPoints(argc > 2 ? size_t(std::atol(argv[2])) : 500000);
	std::printf("%10s %10s %12s %12s %10s %12s %12s %12s\n", "points", "go() s", "diff tris", "components", "ns/tri", "cut m3", "fill m3", "+peak MiB");
	for(size_t n = minPoints; n <= maxPoints; n *= 2)
	{
		Mirel_2D before(unsigned(n + 4)), after(unsigned(n + 4));
		makeTerrain(before, n, 1, 0.0);
		makeTerrain(after, n, 2, 0.7);
		Zone2* pBefore(before.createZone(nullptr, ZL_GLOBAL, false));
		Zone2* pAfter(after.createZone(nullptr, ZL_GLOBAL, false));
		double baseMiB(currentMiB());
		double cut(0.0), fill(0.0), seconds(0.0);
		size_t numTriangles(0), numComponents(0);
		{
			CutAndFill caf(pBefore, pAfter, 0.0);
			auto start(std::chrono::steady_clock::now());
			if(!caf.go())
			{
				std::printf("go() failed at %zu points\n", n);
				return 1;
			}
			seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
			numComponents = size_t(caf.getNumberOfComponents());
			for(size_t i = 0; i < numComponents; ++i)
			{
				CAF_Component* pC(caf.getComponent(i));
				if(pC->getCAFType() == CT_CUT) cut += pC->getVolume();
				if(pC->getCAFType() == CT_FILL) fill += pC->getVolume();
			}
			Zone2* pDiff(nullptr);
			std::map<Point2*, std::pair<double, double>> mHeights;
			caf.getDiffZone(pDiff, mHeights);
			numTriangles = pDiff->getNumberOfTriangles();
		}
		// The peak of this size includes everything before; sizes grow, so the
		// process peak is this run's peak.
		std::printf("%10zu %10.2f %12zu %12zu %10.0f %12.1f %12.1f %12.0f\n", n, seconds, numTriangles, numComponents, 1e9 * seconds / double(numTriangles),
			cut, fill, peakMiB() - baseMiB);
		std::fflush(stdout);
	}
	return 0;
}
