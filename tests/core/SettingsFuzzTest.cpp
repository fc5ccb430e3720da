// Random files: loading never fails, and loaded settings survive a save and another load.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "core/SettingsHome.h"

namespace zv {
namespace {

class SettingsFuzz : public SettingsHome {
protected:
    std::size_t Below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_); }

    std::string Bytes(std::size_t longest) {
        std::string bytes(Below(longest + 1), '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(Below(256));
        }
        return bytes;
    }

    /// Mostly whole lines with real keys and odd values, so that the rules behind the keys are reached.
    std::string Lines() {
        static const std::vector<std::string> keys = {"audioCaptureVersion",
                                                      "replayUiVersion",
                                                      "monitorDevice",
                                                      "captureCursor",
                                                      "width",
                                                      "height",
                                                      "fps",
                                                      "bitrateMbps",
                                                      "replaySeconds",
                                                      "instantReplay",
                                                      "micEnabled",
                                                      "overlayOpacity",
                                                      "codec",
                                                      "theme",
                                                      "accent",
                                                      "clipsFolder",
                                                      "captureRoot",
                                                      "ffmpegPath",
                                                      "previousCaptureRoot0",
                                                      "previousCaptureRoot7",
                                                      "bindMods0",
                                                      "bindMods3",
                                                      "bindKeys1",
                                                      "bindKeys2",
                                                      "screenshotsFolder",
                                                      "",
                                                      "nonsense",
                                                      "gameAudioEnabled"};
        static const std::vector<std::string> values = {
            "", "0", "1", "-1", "15", "135", "2147483647", "1=", "  60x", "x\r", "2147483648", "=", "-2147483648"};
        static const std::vector<std::string> ends = {"\r\n", "\n", "\r\r\n", "\r", "", "=\n"};
        std::string lines;
        for (std::size_t count = Below(30); count > 0; --count) {
            lines += keys[Below(keys.size())] + "=";
            lines += Below(4) == 0 ? Bytes(12) : values[Below(values.size())];
            lines += Below(8) == 0 ? ends[Below(ends.size())] : "\r\n";
        }
        return lines;
    }

    static bool FitsItsText(const Settings& settings) {
        for (const std::uint32_t value :
             {settings.width, settings.height, settings.fps, settings.bitrateMbps, settings.replaySeconds,
              settings.overlayOpacity, settings.overlayScale, settings.accent}) {
            if (value > 0x7FFFFFFFU) {
                return false;
            }
        }
        return true;
    }

    /// Returns true if the file changed a setting.
    bool Check(const std::string& bytes) {
        WriteFile(bytes);
        const Settings first = Loaded();
        const std::string saved = Saved(first);
        const Settings second = Loaded();
        // A negative number is written as the large unsigned one that it became, which is out of range when read.
        if (FitsItsText(first)) {
            EXPECT_EQ(second, first) << testing::PrintToString(bytes);
            EXPECT_EQ(Saved(second), saved) << testing::PrintToString(bytes);
        }
        const std::string savedAgain = Saved(second);
        EXPECT_EQ(Loaded(), second) << testing::PrintToString(bytes);
        EXPECT_EQ(Saved(Loaded()), savedAgain) << testing::PrintToString(bytes);
        return first != Defaults();
    }

private:
    std::mt19937 random_{20261115};
};

TEST_F(SettingsFuzz, RandomBytesLoadAndSurviveASave) {
    for (int round = 0; round < 300; ++round) {
        Check(Bytes(2000));
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
}

TEST_F(SettingsFuzz, OddValuesOfRealKeysLoadAndSurviveASave) {
    int changed = 0;
    for (int round = 0; round < 600; ++round) {
        changed += Check(Lines()) ? 1 : 0;
        ASSERT_FALSE(HasFailure()) << "round " << round;
    }
    EXPECT_GT(changed, 300);
}

TEST_F(SettingsFuzz, ASavedFileWithOneByteChangedStillLoads) {
    const std::string whole = Saved(Defaults());
    for (std::size_t index = 0; index < whole.size(); ++index) {
        std::string damaged = whole;
        damaged[index] = static_cast<char>(Below(256));
        Check(damaged);
        ASSERT_FALSE(HasFailure()) << "index " << index;
    }
}

TEST_F(SettingsFuzz, ASavedFileCutAnywhereStillLoads) {
    const std::string whole = Saved(Defaults());
    for (std::size_t length = 0; length < whole.size(); length += 3) {
        Check(whole.substr(0, length));
        ASSERT_FALSE(HasFailure()) << "length " << length;
    }
}

}  // namespace
}  // namespace zv
