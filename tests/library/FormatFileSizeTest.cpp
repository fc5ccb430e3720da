#include "library/FormatFileSize.h"

#include <gtest/gtest.h>

#include <limits>

namespace zv {
namespace {

TEST(FormatFileSize, UsesTheLargestUnitThatTheSizeReaches) {
    struct Row {
        std::uint64_t bytes;
        TextView text;
    };
    const Row rows[] = {
        {0, u"0 B"},
        {1, u"1 B"},
        {1023, u"1023 B"},
        {1024, u"1.0 KB"},
        {1075, u"1.0 KB"},
        {1076, u"1.1 KB"},
        {1280, u"1.2 KB"},  // 1.25, and a tie goes to the even digit
        {1536, u"1.5 KB"},
        {1'048'524, u"1023.9 KB"},
        {1'048'575, u"1024.0 KB"},
        {1'048'576, u"1.0 MB"},
        {20'971'520, u"20.0 MB"},
        {1'073'741'823, u"1024.0 MB"},
        {1'073'741'824, u"1.0 GB"},
        {3'328'599'655, u"3.1 GB"},
        {1'099'511'627'776, u"1024.0 GB"},
        {std::numeric_limits<std::uint64_t>::max(), u"17179869184.0 GB"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(FormatFileSize(row.bytes), row.text) << row.bytes;
    }
}

}  // namespace
}  // namespace zv
