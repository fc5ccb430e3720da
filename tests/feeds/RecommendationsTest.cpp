// The cards of "recommended.ini" over INI files in memory.
#include "feeds/Recommendations.h"

#include <gmock/gmock.h>

#include "fake/Calls.h"
#include "fake/ProfileFile.h"
#include "platform/Files.h"

namespace zv {
namespace {

using fake::TheProfiles;
using testing::ElementsAre;
using testing::IsEmpty;

class Recommendations : public testing::Test {
protected:
    static constexpr TextView folder = u"/app";
    Recommendations() {
        fake::ResetCalls();
        TheProfiles() = {};
    }
    static void Set(TextView section, TextView key, TextView value) {
        TheProfiles().values[{JoinPath(folder, u"recommended.ini"), Text(section), Text(key)}] = value;
    }
    static Recommendation CardWith(TextView key, TextView value) {
        Set(u"Card1", u"Title", u"t");
        Set(u"Card1", key, value);
        return ReadRecommendations(folder).at(0);
    }
};

TEST_F(Recommendations, HaveFourValues) {
    Set(u"Card1", u"Title", u"t");
    Set(u"Card1", u"Description", u"d");
    Set(u"Card1", u"URL", u"https://u");
    Set(u"Card1", u"Image", u"i.png");
    const Text image = JoinPath(JoinPath(folder, u"recommended-images"), u"i.png");
    EXPECT_THAT(ReadRecommendations(folder), ElementsAre(Recommendation{u"t", u"d", u"https://u", image}));
}

TEST_F(Recommendations, AreSixAtMostAndMayHaveGaps) {
    EXPECT_THAT(ReadRecommendations(folder), IsEmpty());
    Set(u"Card1", u"Title", u"a");
    Set(u"Card2", u"Description", u"no title");
    Set(u"Card3", u"Title", u"c");
    Set(u"Card6", u"Title", u"f");
    Set(u"Card7", u"Title", u"never");
    Set(u"Card0", u"Title", u"never");
    EXPECT_THAT(ReadRecommendations(folder),
                ElementsAre(Recommendation{u"a", u"", u"", u""}, Recommendation{u"c", u"", u"", u""},
                            Recommendation{u"f", u"", u"", u""}));
    EXPECT_THAT(fake::CallLog(), testing::Not(testing::Contains("ReadProfileText Card7")));
}

TEST_F(Recommendations, OnlyAnHttpsAddressIsALink) {
    for (const TextView url : {u"https://a", u"https://a.example/?q=\u00E9#x"}) {
        EXPECT_EQ(CardWith(u"URL", url).url, url);
    }
    for (const TextView url : {u"https://", u"http://a.example", u"HTTPS://a.example", u"https://a b", u"https://a\tb",
                               u"https://a\r", u"https://a\nb", u"file:///etc/passwd", u"/bin/sh", u"calc.exe"}) {
        EXPECT_EQ(CardWith(u"URL", url), (Recommendation{u"t", u"", u"", u""})) << testing::PrintToString(Text(url));
    }
}

TEST_F(Recommendations, OnlyABareFileNameIsAnImage) {
    for (const TextView name : {u"a.png", u"..a.png", u"a b.png"}) {
        EXPECT_EQ(CardWith(u"Image", name).image, JoinPath(JoinPath(folder, u"recommended-images"), name));
    }
    for (const TextView name : {u"sub\\a.png", u"sub/a.png", u"C:\\a.png", u"C:a.png", u"/a.png", u"\\a.png", u"..",
                                u".", u"..\\a.png", u"../a.png", u"a/"}) {
        EXPECT_EQ(CardWith(u"Image", name), (Recommendation{u"t", u"", u"", u""}))
            << testing::PrintToString(Text(name));
    }
}

}  // namespace
}  // namespace zv
