#include "library/GameName.h"

#include <algorithm>

namespace zv {
namespace {

constexpr TextView desktopName = u"Desktop";
constexpr std::size_t longestName = 80;

enum class Match { Contains, Equals };

struct NameRule {
    Match match;
    TextView text;  ///< compared with the stem in lower case
    TextView name;
};

constexpr NameRule nameRules[] = {
    {Match::Contains, u"fortnite", u"Fortnite"}, {Match::Contains, u"roblox", u"Roblox"},
    {Match::Contains, u"valorant", u"VALORANT"}, {Match::Equals, u"cs2", u"Counter-Strike 2"},
    {Match::Equals, u"r5apex", u"Apex Legends"}, {Match::Equals, u"rocketleague", u"Rocket League"},
    {Match::Equals, u"javaw", u"Minecraft"},     {Match::Contains, u"minecraft", u"Minecraft"},
};

constexpr TextView noGames[] = {
    u"explorer",
    u"chrome",
    u"msedge",
    u"firefox",
    u"codex",
    u"chatgpt",
    u"discord",
    u"steam",
    u"steamwebhelper",
    u"nvidia app",
    u"nvidia overlay",
    u"taskmgr",
    u"applicationframehost",
    u"systemsettings",
    u"searchhost",
    u"startmenuexperiencehost",
    u"shellexperiencehost",
    u"cmd",
    u"windowsterminal",
};

constexpr TextView buildSuffixes[] = {u"-win64-shipping", u"-win64", u"-shipping"};

constexpr TextView knownGameKeywords[] = {u"fortnite",     u"valorant",     u"cs2.exe",  u"r5apex",
                                          u"rocketleague", u"robloxplayer", u"minecraft"};

constexpr TextView forbiddenUnits = u"<>:\"/\\|?*";

bool IsLetter(char16_t unit) { return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z'); }

TextView FileNameOf(TextView path) {
    if (path.size() >= 2 && IsLetter(path[0]) && path[1] == u':') {
        path.remove_prefix(2);  // a drive
    }
    const std::size_t separator = path.find_last_of(u"/\\");
    return separator == TextView::npos ? path : path.substr(separator + 1);
}

TextView StemOf(TextView fileName) {
    const TextView name = fileName.substr(0, fileName.find(u':'));
    const std::size_t dot = name.rfind(u'.');
    const bool hasExtension = dot != TextView::npos && dot != 0 && name != u"..";
    return hasExtension ? name.substr(0, dot) : name;
}

bool Matches(const NameRule& rule, TextView lowered) {
    return rule.match == Match::Equals ? lowered == rule.text : Contains(lowered, rule.text);
}

Text WithoutBuildSuffixes(TextView stem) {
    Text lowered = Lowered(stem);
    for (const TextView suffix : buildSuffixes) {
        lowered.resize(std::min(lowered.find(suffix), lowered.size()));
    }
    return Text(stem.substr(0, lowered.size()));
}

bool IsReservedName(TextView lowered) {
    if (lowered == u"con" || lowered == u"prn" || lowered == u"aux" || lowered == u"nul") {
        return true;
    }
    const bool isPort = lowered.starts_with(u"com") || lowered.starts_with(u"lpt");
    return isPort && lowered.size() == 4 && lowered[3] >= u'0' && lowered[3] <= u'9';
}

}  // namespace

Text IdentifyProcess(TextView imagePath) {
    const TextView stem = StemOf(FileNameOf(imagePath));
    const Text lowered = Lowered(stem);
    for (const NameRule& rule : nameRules) {
        if (Matches(rule, lowered)) {
            return Text(rule.name);
        }
    }
    if (std::find(std::begin(noGames), std::end(noGames), lowered) != std::end(noGames)) {
        return Text(desktopName);
    }
    return SanitizeFolderName(WithoutBuildSuffixes(stem));
}

Text SanitizeFolderName(Text name) {
    std::replace_if(
        name.begin(), name.end(),
        [](char16_t unit) {
            return unit < 32 || Contains(forbiddenUnits, {&unit, 1});
        },
        u'_');
    name.resize(name.find_last_not_of(u". ") + 1);
    name.resize(std::min(name.size(), longestName));
    if (name.empty() || name == u"." || name == u"..") {
        return Text(desktopName);
    }
    const Text lowered = Lowered(name);
    if (IsReservedName(TextView(lowered).substr(0, lowered.find(u'.')))) {
        return u"Game_" + name;
    }
    return name;
}

Text ForegroundGameName(const FrontWindow& front) {
    switch (front.kind) {
        case FrontKind::None:
        case FrontKind::Own:
            return {};
        case FrontKind::Unknown:
            return Text(desktopName);
        case FrontKind::Known:
            break;
    }
    return IdentifyProcess(front.imagePath);
}

bool IsKnownGame(TextView imagePath) {
    constexpr TextView windowsEnding = u".exe";
    Text lowered = Lowered(FileNameOf(imagePath));
    if (!lowered.ends_with(windowsEnding)) {
        lowered += windowsEnding;  // a native Linux game has the same name without it
    }
    return std::any_of(std::begin(knownGameKeywords), std::end(knownGameKeywords),
                       [&](TextView keyword) { return Contains(lowered, keyword); });
}

}  // namespace zv
