// Many single insertions after a batch: the vertex store keeps them in a tail
// that is merged later; duplicates, removals and later batches must still find
// every vertex, and the mesh stays exactly Delaunay.
#include "Mirel_2D.h"
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <utility>
#include <vector>

using namespace MIREL25D;

TEST(SingleInsertions, DuplicatesRemovalsAndBatchesAcrossTheTail)
{
	std::mt19937 gen(7);
	std::uniform_int_distribution<int> coord(0, 2000);
	Mirel_2D dt(100);
	std::vector<Point2> vBatch;
	for(int i = 0; i < 300; ++i) vBatch.push_back(Point2(coord(gen), coord(gen), i));
	std::vector<Point2*> vHandles;
	dt.insert(vBatch, vHandles);

	// Integer places repeat often: each place must keep its first vertex and z.
	std::map<std::pair<double, double>, Point2*> mFirstAtPlace;
	for(size_t i = 0; i < vBatch.size(); ++i) mFirstAtPlace.emplace(std::make_pair(vBatch[i].x(), vBatch[i].y()), vHandles[i]);
	std::vector<Point2*> vSingles;
	for(int i = 0; i < 12000; ++i)
	{
		Point2 p(coord(gen), coord(gen), 1000.0 + i);
		Point2* pVtx(dt.insert(p));
		ASSERT_NE(pVtx, nullptr);
		auto ins(mFirstAtPlace.emplace(std::make_pair(p.x(), p.y()), pVtx));
		ASSERT_EQ(ins.first->second, pVtx) << "single insertion " << i;
		if(ins.second) vSingles.push_back(pVtx);
	}
	EXPECT_EQ(dt.numberOfPoints(), mFirstAtPlace.size());

	// Remove every third single vertex, some of them still in the unmerged tail.
	size_t numRemoved(0);
	for(size_t i = 0; i < vSingles.size(); i += 3)
	{
		mFirstAtPlace.erase(std::make_pair(vSingles[i]->x(), vSingles[i]->y()));
		dt.remove(vSingles[i]);
		++numRemoved;
	}
	EXPECT_EQ(dt.numberOfPoints(), mFirstAtPlace.size());

	// A later batch resolves duplicates against the single vertices too.
	std::vector<Point2> vSecond;
	for(size_t i = 1; i < vSingles.size(); i += 3) vSecond.push_back(Point2(vSingles[i]->x(), vSingles[i]->y(), -1.0));
	std::vector<Point2*> vSecondHandles;
	dt.insert(vSecond, vSecondHandles);
	for(size_t i = 0; i < vSecond.size(); ++i)
	{
		EXPECT_EQ(vSecondHandles[i], mFirstAtPlace[std::make_pair(vSecond[i].x(), vSecond[i].y())]);
		EXPECT_NE(vSecondHandles[i]->z(), -1.0);
	}
	EXPECT_EQ(dt.numberOfPoints(), mFirstAtPlace.size());
	std::vector<Point2*> vVertices;
	dt.getVertexPointers(vVertices);
	EXPECT_EQ(vVertices.size(), mFirstAtPlace.size());
	EXPECT_TRUE(dt.checkValidity(true, "singleInsertions"));
}

TEST(SingleInsertions, ParallelBatchAfterSingleInsertions)
{
	std::mt19937 gen(11);
	std::uniform_real_distribution<double> coord(0.0, 1000.0);
	Mirel_2D dt(100);
	dt.setNumCPU(2);
	std::vector<Point2*> vSingles;
	for(int i = 0; i < 500; ++i) vSingles.push_back(dt.insert(Point2(coord(gen), coord(gen), i)));
	std::vector<Point2> vBatch;
	for(int i = 0; i < 5000; ++i) vBatch.push_back(Point2(coord(gen), coord(gen), -i));
	// Some batch points repeat single ones: they resolve to the single vertices.
	for(int i = 0; i < 100; ++i) vBatch[size_t(i) * 37] = Point2(vSingles[size_t(i)]->x(), vSingles[size_t(i)]->y(), 0.5);
	std::vector<Point2*> vHandles;
	dt.insert(vBatch, vHandles);
	for(int i = 0; i < 100; ++i) EXPECT_EQ(vHandles[size_t(i) * 37], vSingles[size_t(i)]);
	EXPECT_EQ(dt.numberOfPoints(), 500u + 5000u - 100u);
	EXPECT_TRUE(dt.checkValidity(true, "parallelAfterSingles"));
}
