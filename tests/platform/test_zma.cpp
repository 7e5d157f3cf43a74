// Tests of the lens magnification table, its file reader and the conversion.
// labels: threaded
#include "platform/CameraLensZMAAlgorithm.h"
#include "platform/ZMAParam.h"
#include "platform/ZMAParamFileToArray.h"

#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <thread>
#include <utility>

namespace {

const char* const kZmaFile = "/hd1/program/config/ZMAParam.txt";

ZMAParam table(std::initializer_list<ZMAParam::Point> points) {
    ZMAParam p;
    for (const auto& pt : points)
        EXPECT_EQ(p.addPoint(pt.position, pt.magnification), 1);
    return p;
}

// Checks {position, magnification} pairs against the conversion.
void expectMagnify(const CameraLensZMAAlgorithm& zma,
                   std::initializer_list<std::pair<int, int>> cases) {
    for (const auto& c : cases) {
        int m = -1;
        EXPECT_EQ(zma.calcMagnify(c.first, m), 1) << "position " << c.first;
        EXPECT_EQ(m, c.second) << "position " << c.first;
    }
}

} // namespace

TEST(ZMAParamTest, RowsMustRiseStrictlyAndMagnificationsBePositive) {
    ZMAParam p;
    EXPECT_EQ(p.addPoint(0, 1000), 1);
    const std::pair<int, int> refused[] = {{0, 1500}, {-1, 1500}, {100, 0}, {100, -5}};
    for (const auto& bad : refused)
        EXPECT_EQ(p.addPoint(bad.first, bad.second), 0) << bad.first << "," << bad.second;
    EXPECT_EQ(p.addPoint(100, 2000), 1);
    EXPECT_EQ(p.addPoint(50, 3000), 0);
    EXPECT_EQ(p.size(), 2);
    ZMAParam full;
    for (int i = 0; i < ZMAParam::kMaxPoints; ++i)
        ASSERT_EQ(full.addPoint(i, 1000), 1);
    EXPECT_EQ(full.addPoint(ZMAParam::kMaxPoints, 1000), 0);
}

TEST(ZMAFileTest, ShippedSampleAndLooseLayoutAreAcceptedMissingAndOversizedFilesNot) {
    kvtest::TestRoot root;
    ZMAParamFileToArray reader;
    ZMAParam p;
    EXPECT_EQ(reader.get(p), 0); // no path yet
    EXPECT_EQ(reader.setFilePath(kZmaFile), 0);
    EXPECT_EQ(reader.get(p), 0);
    std::filesystem::create_directories(root.path("/hd1/program/config"));
    std::filesystem::copy_file(KV_SOURCE_DIR "/examples/rootfs/hd1/program/config/ZMAParam.txt",
                               root.path(kZmaFile));
    ASSERT_EQ(reader.setFilePath(kZmaFile), 1);
    ASSERT_EQ(reader.get(p), 1) << reader.lastError();
    ASSERT_EQ(p.size(), 30);
    EXPECT_EQ(p.points().back().position, 0x4000);
    EXPECT_EQ(p.points().back().magnification, 30000);
    std::string big = "0 1000\n";
    while (big.size() < ZMAParamFileToArray::kMaxFileBytes)
        big += "# padding padding padding padding padding padding padding\n";
    root.writeFile(kZmaFile, big);
    EXPECT_EQ(reader.get(p), 0);
    EXPECT_EQ(p.size(), 30);

    ASSERT_EQ(reader.parse("# header\r\n\r\n  0\t1000  # wide\r\n\t0x16A1 2000\n   \n"
                           "2147483647 30000",
                           p),
              1)
        << reader.lastError();
    ASSERT_EQ(p.size(), 3);
    EXPECT_EQ(p.points()[1].position, 0x16A1);
    EXPECT_EQ(p.points()[2].position, INT_MAX);
    EXPECT_EQ(p.points()[2].magnification, 30000);
}

TEST(ZMAFileTest, MalformedTextIsRefusedWhole) {
    // No rows, wrong field counts, signs, fractions, bad hex, zero magnification,
    // falling or repeated positions, overflow, control bytes, wrong separator.
    // clang-format off
    const std::string bad[] = {
        "", "# only a comment", "100", "100 200 300", "0 1000\nabc 2000", "-5 1000", "1.5 1000",
        "0x 1000", "12x 1000", "10 0x3E8", "100 0", "200 1000\n100 2000", "100 1000\n100 2000",
        "2147483648 1000", "0 1000\n1 2000\x01", "0,1000", std::string("0 10\0" "00", 7)};
    // clang-format on
    ZMAParamFileToArray reader;
    for (const std::string& text : bad) {
        ZMAParam p = table({{7, 7000}});
        EXPECT_EQ(reader.parse(text, p), 0) << '"' << text << '"';
        EXPECT_FALSE(reader.lastError().empty());
        ASSERT_EQ(p.size(), 1) << "the table was changed by a refused file";
    }
    ZMAParam p;
    reader.parse("0 1000\n# fine\n5 2000\n3 3000\n", p);
    EXPECT_NE(reader.lastError().find("line 4"), std::string::npos) << reader.lastError();
}

TEST(CameraLensZMAAlgorithmTest, InterpolatesBetweenRowsAndClampsAtTheEnds) {
    CameraLensZMAAlgorithm zma;
    int m = 42;
    EXPECT_EQ(zma.calcMagnify(100, m), 0);
    EXPECT_EQ(m, 42);
    ASSERT_EQ(zma.setZMAParam(table({{1000, 1000}, {5793, 2000}, {8291, 3000}, {16384, 30000}})),
              1);
    // Below the table and past it the end rows hold; in between the result is
    // truncated (5792 gives 1999, 12337 gives 27000 * 4046 / 8093 + 3000).
    expectMagnify(zma, {{0, 1000},
                        {-50, 1000},
                        {1000, 1000},
                        {5793, 2000},
                        {5792, 1999},
                        {7042, 2500},
                        {12337, 16498},
                        {16384, 30000},
                        {INT_MAX, 30000}});
    EXPECT_EQ(zma.setZMAParam(ZMAParam()), 0); // an empty table keeps the old one
    expectMagnify(zma, {{5793, 2000}});

    ASSERT_EQ(zma.setZMAParam(table({{0, 1}, {INT_MAX, INT_MAX}})), 1); // no overflow
    expectMagnify(zma, {{INT_MAX - 1, INT_MAX - 1}, {INT_MAX / 2, INT_MAX / 2}});
    ASSERT_EQ(zma.setZMAParam(table({{0, 3000}, {10, 1000}})), 1); // falling
    expectMagnify(zma, {{5, 2000}, {1, 2800}});
    ASSERT_EQ(zma.setZMAParam(table({{500, 4000}})), 1);
    expectMagnify(zma, {{0, 4000}, {900, 4000}});
}

TEST(CameraLensZMAAlgorithmTest, TableCanBeReplacedWhileConverting) {
    CameraLensZMAAlgorithm zma;
    ASSERT_EQ(zma.setZMAParam(table({{0, 1000}, {100, 2000}})), 1);
    std::thread irThread([&zma] {
        for (int i = 0; i < 2000; ++i) {
            int m = 0;
            ASSERT_EQ(zma.calcMagnify(50, m), 1);
            ASSERT_TRUE(m == 1500 || m == 3000) << m;
        }
    });
    for (int i = 0; i < 200; ++i)
        zma.setZMAParam(i % 2 ? table({{0, 1000}, {100, 2000}}) : table({{0, 3000}}));
    irThread.join();
}
