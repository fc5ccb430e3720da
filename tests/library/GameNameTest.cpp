#include "library/GameName.h"

#include <gtest/gtest.h>

namespace zv {
namespace {

struct NameCase {
    const char16_t* path;
    const char16_t* name;
};

template <std::size_t count>
void ExpectNames(const NameCase (&cases)[count]) {
    for (const NameCase& row : cases) {
        EXPECT_EQ(IdentifyProcess(row.path), row.name) << Narrow(row.path);
    }
}

TEST(GameName, EverySpecialCaseHasItsName) {
    ExpectNames({
        {u"C:\\Games\\FortniteClient-Win64-Shipping.exe", u"Fortnite"},
        {u"C:\\Games\\MyFORTNITEx.exe", u"Fortnite"},
        {u"C:\\Games\\RobloxPlayerBeta.exe", u"Roblox"},
        {u"C:\\Games\\notROBLOX.exe", u"Roblox"},
        {u"C:\\Games\\VALORANT-Win64-Shipping.exe", u"VALORANT"},
        {u"C:\\Games\\xValorantx.exe", u"VALORANT"},
        {u"C:\\Games\\CS2.exe", u"Counter-Strike 2"},
        {u"C:\\Games\\r5apex.exe", u"Apex Legends"},
        {u"C:\\Games\\RocketLeague.exe", u"Rocket League"},
        {u"C:\\Java\\bin\\javaw.exe", u"Minecraft"},
        {u"C:\\Games\\Minecraft.Windows.exe", u"Minecraft"},
        {u"C:\\Games\\my-minecraft-2.exe", u"Minecraft"},
    });
}

TEST(GameName, TheExactCasesMatchNoLongerNames) {
    ExpectNames({
        {u"cs2go.exe", u"cs2go"},
        {u"r5apex_dx12.exe", u"r5apex_dx12"},
        {u"RocketLeague2.exe", u"RocketLeague2"},
        {u"java.exe", u"java"},
        {u"javaws.exe", u"javaws"},
        {u"xcs2.exe", u"xcs2"},
    });
}

TEST(GameName, TheEarlierOfTwoMatchingCasesWins) {
    ExpectNames({
        {u"minecraft-fortnite.exe", u"Fortnite"},
        {u"valorant-roblox.exe", u"Roblox"},
        {u"minecraft-valorant.exe", u"VALORANT"},
    });
}

TEST(GameName, OfAProgramThatIsNotAGameIsDesktop) {
    for (const TextView name :
         {u"explorer", u"chrome", u"msedge", u"firefox", u"codex", u"chatgpt", u"discord", u"steam", u"steamwebhelper",
          u"nvidia app", u"nvidia overlay", u"taskmgr", u"applicationframehost", u"systemsettings", u"searchhost",
          u"startmenuexperiencehost", u"shellexperiencehost", u"cmd", u"windowsterminal"}) {
        EXPECT_EQ(IdentifyProcess(u"C:\\x\\" + Text(name) + u".exe"), u"Desktop") << Narrow(name);
        EXPECT_EQ(IdentifyProcess(u"C:\\x\\" + Text(name) + u"2.exe"), Text(name) + u"2") << Narrow(name);
    }
    EXPECT_EQ(IdentifyProcess(u"C:\\Windows\\Explorer.EXE"), u"Desktop");
    EXPECT_EQ(IdentifyProcess(u"cmd-win64.exe"), u"cmd") << "compared before the build's suffix is cut";
}

TEST(GameName, HasNoBuildSuffixes) {
    ExpectNames({
        {u"MyGame-Win64-Shipping.exe", u"MyGame"},
        {u"Foo-Win64-Shipping-Test.exe", u"Foo"},
        {u"a-shipping-win64.exe", u"a"},
        {u"a-win64-shipping-win64-shipping.exe", u"a"},
        {u"MyGame-WIN64.exe", u"MyGame"},
        {u"MyGame-Shipping.exe", u"MyGame"},
        {u"MyGame-win64x.exe", u"MyGame"},
        {u"MyGame-Win32-Shipping.exe", u"MyGame-Win32"},
        {u"MyGame-Win32.exe", u"MyGame-Win32"},
        {u"-win64-shipping.exe", u"Desktop"},
    });
}

TEST(GameName, IsTheFileNameWithoutExtensionInItsOriginalCase) {
    ExpectNames({
        {u"C:\\Program Files\\My Game\\The Game.exe", u"The Game"},
        {u"C:/Games/Wine Game.exe", u"Wine Game"},
        {u"Z:\\home\\u/Mixed\\x.exe", u"x"},
        {u"/usr/games/SuperTux", u"SuperTux"},
        {u"/opt/dir.with.dots/plain", u"plain"},
        {u"a.b.c", u"a.b"},
        {u".hidden", u".hidden"},
        {u"/opt/.hidden.exe", u".hidden"},
        {u"name.", u"name"},
        {u"game.exe:stream.txt", u"game"},
        {u"ga:me.exe", u"ga"},
        {u"C:game.exe", u"game"},
        {u"C:\\dir\\", u"Desktop"},
        {u"C:", u"Desktop"},
        {u"", u"Desktop"},
        {u".", u"Desktop"},
        {u"..", u"Desktop"},
        {u"....", u"Desktop"},
    });
}

TEST(GameName, IsAValidFolderName) {
    ExpectNames({
        {u"AUX.exe", u"Game_AUX"},
        {u"aux.game.exe", u"Game_aux.game"},
        {u"COM1.exe", u"Game_COM1"},
        {u"COM12.exe", u"COM12"},
        {u"COMX.exe", u"COMX"},
        {u"what?.exe", u"what_"},
    });
    EXPECT_EQ(IdentifyProcess(Text(100, u'g') + u".exe"), Text(80, u'g'));
    EXPECT_EQ(IdentifyProcess(u"aux-win64.exe"), u"Game_aux");
}

TEST(FolderName, ContainsNoControlCharacterAndNoneOfTheNineForbiddenOnes) {
    EXPECT_EQ(SanitizeFolderName(u"a<b>c:d\"e/f\\g|h?i*j"), u"a_b_c_d_e_f_g_h_i_j");
    for (char16_t unit = 0; unit < 32; ++unit) {
        EXPECT_EQ(SanitizeFolderName(Text(u"a") + unit + u"b"), u"a_b") << static_cast<int>(unit);
    }
    EXPECT_EQ(SanitizeFolderName(u"a b!\u007F\u0416\u00E9#%&{}$@`'+="), u"a b!\u007F\u0416\u00E9#%&{}$@`'+=");
}

TEST(FolderName, DoesNotEndInADotOrABlank) {
    EXPECT_EQ(SanitizeFolderName(u"a. . ."), u"a");
    EXPECT_EQ(SanitizeFolderName(u" .a"), u" .a");
    EXPECT_EQ(SanitizeFolderName(u"a\t"), u"a_");
}

TEST(FolderName, IsTrimmedBeforeItIsCutTo80) {
    EXPECT_EQ(SanitizeFolderName(Text(80, u'a')), Text(80, u'a'));
    EXPECT_EQ(SanitizeFolderName(Text(81, u'a')), Text(80, u'a'));
    EXPECT_EQ(SanitizeFolderName(Text(79, u'a') + u". z"), Text(79, u'a') + u".");
}

TEST(FolderName, IsDesktopIfNothingRemains) {
    for (const TextView name : {u"", u".", u"..", u"...", u" ", u" . "}) {
        EXPECT_EQ(SanitizeFolderName(Text(name)), u"Desktop") << Narrow(name);
    }
}

TEST(FolderName, HasThePrefixGameIfItIsReserved) {
    for (const TextView name : {u"con", u"prn", u"aux", u"nul", u"CON", u"Nul.txt", u"aux.a.b"}) {
        EXPECT_EQ(SanitizeFolderName(Text(name)), u"Game_" + Text(name)) << Narrow(name);
    }
    for (char16_t digit = u'0'; digit <= u'9'; ++digit) {
        EXPECT_EQ(SanitizeFolderName(Text(u"com") + digit), Text(u"Game_com") + digit);
        EXPECT_EQ(SanitizeFolderName(Text(u"LPT") + digit), Text(u"Game_LPT") + digit);
    }
    for (const TextView name : {u"com", u"com10", u"lpt", u"comx", u"xcon", u"conx", u"con x", u".con", u"com/"}) {
        EXPECT_FALSE(SanitizeFolderName(Text(name)).starts_with(u"Game_")) << Narrow(name);
    }
}

TEST(FolderName, HasUpTo85UnitsIfItIsReserved) {
    EXPECT_EQ(SanitizeFolderName(u"con." + Text(100, u'x')), u"Game_con." + Text(76, u'x'));
}

TEST(FolderName, DoesNotChangeWhenItIsSanitizedAgain) {
    for (const TextView name : {u"My Game", u"con", u"a<b", u"..", u"a. ."}) {
        const Text once = SanitizeFolderName(Text(name));
        EXPECT_EQ(SanitizeFolderName(once), once) << Narrow(name);
    }
}

TEST(ProcessName, DoesNotContainADriveWithoutAFolder) {
    for (const TextView drive : {u"a:", u"m:", u"z:", u"A:", u"M:", u"Z:"}) {
        EXPECT_EQ(IdentifyProcess(Text(drive) + u"Tux.exe"), u"Tux") << Narrow(drive);
    }
    for (const TextView other : {u"@:", u"[:", u"`:", u"{:", u"1:"}) {
        EXPECT_EQ(IdentifyProcess(Text(other) + u"Tux.exe"), other.substr(0, 1)) << Narrow(other);
    }
}

class ForegroundGame : public testing::Test {
protected:
    static Text NameOf(FrontKind kind, const char16_t* path = u"") { return ForegroundGameName({kind, 12, path}); }
};

TEST_F(ForegroundGame, IsEmptyWithoutAFrontWindow) { EXPECT_EQ(NameOf(FrontKind::None), u""); }

TEST_F(ForegroundGame, IsEmptyForTheProgramsOwnWindow) { EXPECT_EQ(NameOf(FrontKind::Own, u"C:\\zorvel.exe"), u""); }

TEST_F(ForegroundGame, IsDesktopIfTheProcessCannotBeRead) { EXPECT_EQ(NameOf(FrontKind::Unknown), u"Desktop"); }

TEST_F(ForegroundGame, HasTheNameOfItsImage) {
    EXPECT_EQ(NameOf(FrontKind::Known, u"C:\\r5apex.exe"), u"Apex Legends");
    EXPECT_EQ(NameOf(FrontKind::Known, u"/usr/games/Tux-Shipping"), u"Tux");
}

TEST(KnownGame, EveryKeywordMatchesAnywhereInTheFileName) {
    for (const TextView path : {u"C:\\FortniteClient.exe", u"C:\\x-VALORANT.exe", u"C:\\cs2.exe", u"C:\\mycs2.exe",
                                u"C:\\r5apex_dx12.exe", u"C:\\RocketLeague.exe", u"C:\\RobloxPlayerBeta.exe",
                                u"C:\\Minecraft.Windows.exe", u"/opt/minecraft", u"/games/cs2"}) {
        EXPECT_TRUE(IsKnownGame(path)) << Narrow(path);
    }
}

TEST(KnownGame, IgnoresNamesThatOnlyTheFolderRulesMatch) {
    for (const TextView path : {u"C:\\javaw.exe", u"C:\\RobloxStudio.exe", u"/opt/cs2-launcher", u"C:\\cs2.bin",
                                u"C:\\Minecraft\\launcher.exe", u"C:\\game.exe", u""}) {
        EXPECT_FALSE(IsKnownGame(path)) << Narrow(path);
    }
}

}  // namespace
}  // namespace zv
