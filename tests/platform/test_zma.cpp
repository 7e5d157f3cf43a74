// Tests of the lens magnification table, its file reader and the conversion.
// labels: threaded
#include "platform/CameraLensZMAAlgorithm.h"
#include "platform/IRPowerParamV2.h"
#include "platform/ZMAParam.h"
#include "platform/ZMAParamFileToArray.h"

#include "support/TestRoot.h"

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <thread>

namespace {

const char* const kZmaFile = "/hd1/program/config/ZMAParam.txt";

std::string sampleFile() {
    namespace fs = std::filesystem;
    return (fs::path(__FILE__).parent_path().parent_path().parent_path() / "examples" / "rootfs" /
            "hd1" / "program" / "config" / "ZMAParam.txt")
        .string();
}

ZMAParam table(std::initializer_list<ZMAParam::Point> points) {
    ZMAParam p;
    for (const auto& pt : points)
        EXPECT_EQ(p.addPoint(pt.position, pt.magnification), 1);
    return p;
}

int magnify(const CameraLensZMAAlgorithm& zma, int position) {
    int m = -1;
    EXPECT_EQ(zma.calcMagnify(position, m), 1) << "position " << position;
    return m;
}

} // namespace

TEST(ZMAParamTest, RowsMustRiseStrictlyAndMagnificationsBePositive) {
    ZMAParam p;
    EXPECT_EQ(p.addPoint(0, 1000), 1);
    EXPECT_EQ(p.addPoint(0, 1500), 0);
    EXPECT_EQ(p.addPoint(-1, 1500), 0);
    EXPECT_EQ(p.addPoint(100, 0), 0);
    EXPECT_EQ(p.addPoint(100, -5), 0);
    EXPECT_EQ(p.addPoint(100, 2000), 1);
    EXPECT_EQ(p.addPoint(50, 3000), 0);
    EXPECT_EQ(p.size(), 2);
    int pos = 0;
    int mag = 0;
    EXPECT_EQ(p.getPoint(1, pos, mag), 1);
    EXPECT_EQ(pos, 100);
    EXPECT_EQ(mag, 2000);
    EXPECT_EQ(p.getPoint(2, pos, mag), 0);
    EXPECT_EQ(p.getPoint(-1, pos, mag), 0);

    ZMAParam full;
    for (int i = 0; i < ZMAParam::kMaxPoints; ++i)
        ASSERT_EQ(full.addPoint(i, 1000), 1);
    EXPECT_EQ(full.addPoint(ZMAParam::kMaxPoints, 1000), 0);
}

TEST(ZMAFileTest, ShippedSampleIsValid) {
    kvtest::TestRoot root;
    std::filesystem::create_directories(root.path("/hd1/program/config"));
    std::filesystem::copy_file(sampleFile(), root.path(kZmaFile));
    ZMAParamFileToArray reader;
    ASSERT_EQ(reader.setFilePath(kZmaFile), 1);
    ZMAParam p;
    ASSERT_EQ(reader.get(p), 1) << reader.lastError();
    ASSERT_EQ(p.size(), 30);
    EXPECT_EQ(p.points().front().position, 0);
    EXPECT_EQ(p.points().front().magnification, 1000);
    EXPECT_EQ(p.points().back().position, 0x4000);
    EXPECT_EQ(p.points().back().magnification, 30000);
}

TEST(ZMAFileTest, CommentsBlanksTabsAndLineEndsAreAccepted) {
    ZMAParamFileToArray reader;
    ZMAParam p;
    ASSERT_EQ(reader.parse("# header\r\n\r\n  0\t1000  # wide\r\n\t0x16A1 2000\n   \n"
                           "16384 30000",
                           p),
              1)
        << reader.lastError();
    ASSERT_EQ(p.size(), 3);
    EXPECT_EQ(p.points()[1].position, 0x16A1);
    EXPECT_EQ(p.points()[2].position, 16384);
    EXPECT_EQ(p.points()[2].magnification, 30000);
}

TEST(ZMAFileTest, MalformedTextIsRefusedWhole) {
    const char* const bad[] = {
        "",                     // no rows
        "# only a comment\n",   // no rows
        "100\n",                // one field
        "100 200 300\n",        // three fields
        "0 1000\nabc 2000\n",   // not a number
        "-5 1000\n",            // sign
        "+5 1000\n",            // sign
        "1.5 1000\n",           // fraction
        "0x 1000\n",            // empty hex
        "12x 1000\n",           // trailing junk
        "10 0x3E8\n",           // hex magnification
        "100 0\n",              // zero magnification
        "200 1000\n100 2000\n", // falling position
        "100 1000\n100 2000\n", // repeated position
        "99999999999 1000\n",   // overflow
        "2147483648 1000\n",    // just past INT_MAX
        "0 1000\n1 2000\x01\n", // control character
        "0,1000\n",             // wrong separator
    };
    ZMAParamFileToArray reader;
    for (const char* text : bad) {
        ZMAParam p = table({{7, 7000}});
        EXPECT_EQ(reader.parse(text, p), 0) << '"' << text << '"';
        EXPECT_FALSE(reader.lastError().empty());
        ASSERT_EQ(p.size(), 1) << "the table was changed by a refused file";
        EXPECT_EQ(p.points()[0].position, 7);
    }
    ZMAParam p;
    reader.parse("0 1000\n# fine\n5 2000\n3 3000\n", p);
    EXPECT_NE(reader.lastError().find("line 4"), std::string::npos) << reader.lastError();

    // A NUL byte in the middle of a row.
    EXPECT_EQ(reader.parse(std::string("0 10\0"
                                       "00\n",
                                       8),
                           p),
              0);
    EXPECT_EQ(reader.parse("2147483647 1000\n", p), 1);
}

TEST(ZMAFileTest, MissingOversizedAndUnsetFilesFail) {
    kvtest::TestRoot root;
    ZMAParamFileToArray reader;
    ZMAParam p;
    EXPECT_EQ(reader.get(p), 0); // no path yet
    EXPECT_EQ(reader.setFilePath(kZmaFile), 0);
    EXPECT_EQ(reader.get(p), 0);
    std::filesystem::create_directories(root.path(kZmaFile)); // a folder, not a file
    EXPECT_EQ(reader.setFilePath(kZmaFile), 0);
    EXPECT_EQ(reader.get(p), 0);
    std::filesystem::remove(root.path(kZmaFile));

    std::string big = "0 1000\n";
    while (big.size() < ZMAParamFileToArray::kMaxFileBytes)
        big += "# padding padding padding padding padding padding padding\n";
    root.writeFile(kZmaFile, big);
    EXPECT_EQ(reader.setFilePath(kZmaFile), 1);
    EXPECT_EQ(reader.get(p), 0);
    EXPECT_TRUE(p.empty());

    root.writeFile(kZmaFile, "0 1000\n4096 4000\n");
    ASSERT_EQ(reader.get(p), 1);
    EXPECT_EQ(p.size(), 2);
}

TEST(CameraLensZMAAlgorithmTest, InterpolatesBetweenRowsAndClampsAtTheEnds) {
    CameraLensZMAAlgorithm zma;
    int m = 42;
    EXPECT_EQ(zma.calcMagnify(100, m), 0);
    EXPECT_EQ(m, 42);
    EXPECT_EQ(zma.setZMAParam(ZMAParam()), 0);
    EXPECT_EQ(zma.calcMagnify(100, m), 0);

    ASSERT_EQ(zma.setZMAParam(table({{1000, 1000}, {5793, 2000}, {8291, 3000}, {16384, 30000}})),
              1);
    EXPECT_EQ(magnify(zma, 0), 1000);
    EXPECT_EQ(magnify(zma, -50), 1000);
    EXPECT_EQ(magnify(zma, 1000), 1000);
    EXPECT_EQ(magnify(zma, 5793), 2000);
    EXPECT_EQ(magnify(zma, 5792), 1999); // truncated, not rounded up
    EXPECT_EQ(magnify(zma, 7042), 2500);
    EXPECT_EQ(magnify(zma, 12337), 16498); // 27000 * 4046 / 8093, truncated
    EXPECT_EQ(magnify(zma, 16384), 30000);
    EXPECT_EQ(magnify(zma, 31424), 30000); // digital range holds the last row
    EXPECT_EQ(magnify(zma, INT_MAX), 30000);

    // Setting an empty table keeps the old one.
    EXPECT_EQ(zma.setZMAParam(ZMAParam()), 0);
    EXPECT_EQ(magnify(zma, 5793), 2000);
}

TEST(CameraLensZMAAlgorithmTest, ExtremeTablesDoNotOverflow) {
    CameraLensZMAAlgorithm zma;
    ASSERT_EQ(zma.setZMAParam(table({{0, 1}, {INT_MAX, INT_MAX}})), 1);
    EXPECT_EQ(magnify(zma, INT_MAX - 1), INT_MAX - 1);
    EXPECT_EQ(magnify(zma, INT_MAX / 2), INT_MAX / 2);

    ASSERT_EQ(zma.setZMAParam(table({{0, 3000}, {10, 1000}})), 1); // falling
    EXPECT_EQ(magnify(zma, 5), 2000);
    EXPECT_EQ(magnify(zma, 1), 2800);

    ASSERT_EQ(zma.setZMAParam(table({{500, 4000}})), 1);
    EXPECT_EQ(magnify(zma, 0), 4000);
    EXPECT_EQ(magnify(zma, 900), 4000);
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

TEST(IRPowerParamV2Test, KeepsRowsInOrderAndHandsOutCopies) {
    IRPowerParamV2 param;
    std::vector<IRPowerItem> rows;
    EXPECT_EQ(param.getIrPower(rows), 1);
    EXPECT_TRUE(rows.empty());

    IRPowerItem second;
    second.setZoomUp(2);
    second.setFarPower(60);
    second.setMidPower(40);
    second.setNearPower(20);
    ASSERT_EQ(param.setIrPower({IRPowerItem(1, 30, 20, 10), second}), 1);
    ASSERT_EQ(param.getIrPower(rows), 1);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0], IRPowerItem(1, 30, 20, 10));
    EXPECT_EQ(rows[1].getNearPower(), 20);
    EXPECT_EQ(rows[1].getFarPower(), 60);
    EXPECT_NE(rows[0], rows[1]);

    rows[0].setNearPower(99);
    std::vector<IRPowerItem> again;
    param.getIrPower(again);
    EXPECT_EQ(again[0].getNearPower(), 10);
    EXPECT_EQ(param.size(), 2);
}
