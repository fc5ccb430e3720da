#include "capture/ReplayPlaylist.h"

#include <gmock/gmock.h>

#include <fstream>

#include "platform/Files.h"
#include "support/TemporaryFolder.h"

namespace zv {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* header =
    "#EXTM3U\n#EXT-X-VERSION:6\n#EXT-X-TARGETDURATION:1\n#EXT-X-MEDIA-SEQUENCE:3\n#EXT-X-INDEPENDENT-SEGMENTS\n";

TEST(ReplayPlaylist, SegmentsAreListedInTheOrderOfTheirLines) {
    const std::string playlist = std::string(header) +
                                 "#EXTINF:1.000000,\nseg00000003.ts\n#EXTINF:1.000000,\nseg00000004.ts\n"
                                 "#EXTINF:0.500000,\nseg00000001.ts\n";
    EXPECT_THAT(SegmentNamesIn(playlist), ElementsAre("seg00000003.ts", "seg00000004.ts", "seg00000001.ts"));
}

TEST(ReplayPlaylist, AHeaderAloneOrNothingAtAllListsNoSegment) {
    EXPECT_THAT(SegmentNamesIn(header), IsEmpty());
    EXPECT_THAT(SegmentNamesIn(""), IsEmpty());
    EXPECT_EQ(SecondsIn(header), 0);
    EXPECT_EQ(SecondsIn(""), 0);
}

TEST(ReplayPlaylist, NamesOutsideTheFolderAreIgnored) {
    EXPECT_THAT(SegmentNamesIn("seg/../../x.ts\nseg\\x.ts\nseg1:x.ts\nseg00000001.ts\n"),
                ElementsAre("seg00000001.ts"));
}

TEST(ReplayPlaylist, OtherPrefixesAndLongerSuffixesAreIgnored) {
    EXPECT_THAT(SegmentNamesIn("seg1.tsx\nseg1.ts.tmp\nSEG1.ts\n seg1.ts\nseg\nse\n#seg1.ts\nother.ts\nseg1.TS\n"),
                IsEmpty());
}

TEST(ReplayPlaylist, TheShortestNameIsAccepted) { EXPECT_THAT(SegmentNamesIn("seg.ts"), ElementsAre("seg.ts")); }

TEST(ReplayPlaylist, LinesMayEndInCarriageReturnAndLineFeed) {
    EXPECT_THAT(SegmentNamesIn("seg1.ts\r\nseg2.ts\r\n"), ElementsAre("seg1.ts", "seg2.ts"));
    EXPECT_THAT(SegmentNamesIn("seg1.ts\nseg2.ts\n"), ElementsAre("seg1.ts", "seg2.ts"));
}

TEST(ReplayPlaylist, OnlyOneCarriageReturnBelongsToTheLineEnd) {
    EXPECT_THAT(SegmentNamesIn("seg1.ts\r\r\n"), IsEmpty());
}

TEST(ReplayPlaylist, ATruncatedLastLineThatLooksLikeANameIsAccepted) {
    EXPECT_THAT(SegmentNamesIn("seg00000001.ts\nseg0000.ts"), ElementsAre("seg00000001.ts", "seg0000.ts"));
}

TEST(ReplayPlaylist, APlaylistOfMoreThanAMebibyteIsReadToTheLimit) {
    const support::TemporaryFolder folder;
    const Text path = FromPath(folder.Path());
    {
        std::ofstream file(ToPath(PlaylistPath(path)), std::ios::binary);
        file << "seg00000001.ts\n";
        file << std::string(0x100000 - 15 - 8, '#') << '\n';  // 7 bytes are left before the limit
        file << "seg2.ts.this is behind the cut\nseg00000003.ts\n";
    }
    EXPECT_THAT(ReadSegmentList(path), ElementsAre("seg00000001.ts", "seg2.ts"));
}

TEST(ReplayPlaylist, AMissingPlaylistListsNothing) {
    const support::TemporaryFolder folder;
    EXPECT_THAT(ReadSegmentList(FromPath(folder.Path())), IsEmpty());
    EXPECT_THAT(ReadSegmentList(JoinPath(FromPath(folder.Path()), u"gone")), IsEmpty());
}

struct Durations {
    const char* name;
    const char* playlist;
    std::int32_t seconds;
};

void PrintTo(const Durations& row, std::ostream* out) { *out << row.name; }

class BufferedTime : public testing::TestWithParam<Durations> {};

TEST_P(BufferedTime, IsTheSumOfTheDurationsTruncated) { EXPECT_EQ(SecondsIn(GetParam().playlist), GetParam().seconds); }

INSTANTIATE_TEST_SUITE_P(
    Lines, BufferedTime,
    testing::Values(Durations{"PartsOfASecond", "#EXTINF:0.9,\nseg1.ts\n#EXTINF:0.9,\nseg2.ts\n", 1},
                    Durations{"CarriageReturns", "#EXTINF:1.000000,\r\nseg1.ts\r\n#EXTINF:1.000000,\r\n", 2},
                    Durations{"NoLineEnd", "#EXTINF:2.75", 2},
                    Durations{"NoNumberBeforeAComma", "#EXTINF:,\n#EXTINF:1.5,\n", 1},
                    Durations{"NoNumber", "#EXTINF:\n#EXTINF:x\n#EXTINF:3\n", 3},
                    Durations{"OutOfRange", "#EXTINF:1e999,\n#EXTINF:4,\n", 4},
                    Durations{"BlankOrPlusInFront", "#EXTINF: 1.5,\n#EXTINF:+1.5,\n", 3},
                    Durations{"NegativeTowardsZero", "#EXTINF:-0.5,\n", 0},
                    Durations{"Negative", "#EXTINF:-1.5,\n", -1},
                    Durations{"NotANumberAndInfinity", "#EXTINF:nan,\n#EXTINF:inf,\n#EXTINF:2\n", 2},
                    Durations{"Exponent", "#EXTINF:1.5e1,\n", 15},
                    Durations{"OtherTags", " #EXTINF:9,\n#EXTINFO:9\n#extinf:9\n", 0},
                    Durations{"MoreThanFits", "#EXTINF:9e300,\n", 2147483647},
                    Durations{"LettersAfterTheNumber", "#EXTINF:1.5abc,\n", 1}));

TEST(SegmentsToRelay, ANewStreamStartsAtMostTwoSegmentsBack) {
    EXPECT_THAT(SegmentsToRelay({}, ""), IsEmpty());
    EXPECT_THAT(SegmentsToRelay({"seg1.ts"}, ""), ElementsAre("seg1.ts"));
    EXPECT_THAT(SegmentsToRelay({"seg1.ts", "seg2.ts"}, ""), ElementsAre("seg1.ts", "seg2.ts"));
    EXPECT_THAT(SegmentsToRelay({"seg0.ts", "seg1.ts", "seg2.ts", "seg3.ts", "seg4.ts", "seg5.ts", "seg6.ts", "seg7.ts",
                                 "seg8.ts", "seg9.ts"},
                                ""),
                ElementsAre("seg8.ts", "seg9.ts"));
}

TEST(SegmentsToRelay, ARunningStreamSendsEverythingNew) {
    EXPECT_THAT(SegmentsToRelay({"seg1.ts", "seg2.ts", "seg3.ts", "seg4.ts"}, "seg1.ts"),
                ElementsAre("seg2.ts", "seg3.ts", "seg4.ts"));
}

TEST(SegmentsToRelay, ANameAtOrBeforeTheLastSentIsNeverSent) {
    EXPECT_THAT(SegmentsToRelay({"seg1.ts", "seg2.ts"}, "seg2.ts"), IsEmpty());
    EXPECT_THAT(SegmentsToRelay({"seg1.ts", "seg3.ts", "seg2.ts", "seg3.ts"}, "seg1.ts"), ElementsAre("seg3.ts"));
}

TEST(SegmentsToRelay, NamesCompareAsBytesAndThenByLength) {
    EXPECT_THAT(SegmentsToRelay({"seg10.ts"}, "seg9.ts"), IsEmpty());
    EXPECT_THAT(SegmentsToRelay({"seg1.ts.ts"}, "seg1.ts"), ElementsAre("seg1.ts.ts"));
    EXPECT_THAT(SegmentsToRelay({"seg\xC3.ts"}, "segz.ts"), ElementsAre("seg\xC3.ts"));
}

}  // namespace
}  // namespace zv
