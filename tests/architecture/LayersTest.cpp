// Every include of the source follows the layers that ARCHITECTURE.md draws.
//
// The table under "Layers" is the only list: this test reads it. A file belongs to the room with the longest name that
// its path begins with. It may include its own room, the rooms in the second column, and what those may include.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Layers = std::map<std::string, std::set<std::string>>;

std::string ReadText(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

/// The names between backticks in `cell`.
std::vector<std::string> NamesIn(const std::string& cell) {
    std::vector<std::string> names;
    for (std::size_t open = cell.find('`'); open != std::string::npos;) {
        const std::size_t close = cell.find('`', open + 1);
        if (close == std::string::npos) {
            break;
        }
        names.push_back(cell.substr(open + 1, close - open - 1));
        open = cell.find('`', close + 1);
    }
    return names;
}

/// Reads the rows "| `room` | `may include`, `may include` | ... |" of the section "Layers".
Layers ReadLayers(const std::string& document) {
    Layers layers;
    std::istringstream lines(document);
    bool inSection = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("## ")) {
            inSection = line == "## Layers";
        }
        if (!inSection || !line.starts_with("| `")) {
            continue;
        }
        const std::size_t second = line.find('|', 1);
        const std::size_t third = line.find('|', second + 1);
        for (const std::string& room : NamesIn(line.substr(0, second))) {
            for (const std::string& other : NamesIn(line.substr(second, third - second))) {
                layers[room].insert(other);
            }
            layers[room];
        }
    }
    return layers;
}

void AddReachable(const Layers& layers, const std::string& room, std::set<std::string>& reached) {
    const auto row = layers.find(room);
    if (row != layers.end() && reached.insert(room).second) {
        for (const std::string& other : row->second) {
            AddReachable(layers, other, reached);
        }
    }
}

bool MayInclude(const Layers& layers, const std::string& room, const std::string& target) {
    std::set<std::string> reached;
    AddReachable(layers, room, reached);
    return reached.contains(target);
}

/// The row that `path` (relative to src) belongs to, or nothing.
std::string RoomOf(const Layers& layers, const std::string& path) {
    std::string best;
    for (const auto& [room, allowed] : layers) {
        const bool matches = path.starts_with(room) &&
                             (path.size() == room.size() || path[room.size()] == '/' || path[room.size()] == '.');
        if (matches && room.size() > best.size()) {
            best = room;
        }
    }
    return best;
}

std::vector<std::string> IncludesOf(const std::string& text) {
    const std::string opening = "#include \"";
    std::vector<std::string> includes;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(opening)) {
            includes.push_back(line.substr(opening.size(), line.find('"', opening.size()) - opening.size()));
        }
    }
    return includes;
}

/// One sentence for each include of `file` that the layers do not allow.
std::vector<std::string> FindViolations(const Layers& layers, const std::string& file, const std::string& text) {
    const std::string room = RoomOf(layers, file);
    if (room.empty()) {
        return {file + " belongs to no row of the table"};
    }
    std::vector<std::string> violations;
    for (const std::string& include : IncludesOf(text)) {
        const std::string target = RoomOf(layers, include);
        if (target.empty()) {
            violations.push_back(file + " includes " + include + ", which belongs to no row of the table");
        } else if (!MayInclude(layers, room, target)) {
            violations.push_back(file + " includes " + include + ": " + room + " may not include " + target);
        }
    }
    return violations;
}

const std::filesystem::path sourceFolder = ZV_SOURCE_FOLDER;

Layers DrawnLayers() { return ReadLayers(ReadText(sourceFolder / "ARCHITECTURE.md")); }

TEST(Layers, EveryIncludeFollowsTheTableInTheArchitectureDocument) {
    const Layers layers = DrawnLayers();
    const std::filesystem::path root = sourceFolder / "src";
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        const std::string extension = entry.path().extension().string();
        if (extension != ".cpp" && extension != ".h") {
            continue;
        }
        ++files;
        const std::string file = std::filesystem::relative(entry.path(), root).generic_string();
        for (const std::string& violation : FindViolations(layers, file, ReadText(entry.path()))) {
            ADD_FAILURE() << violation;
        }
    }
    EXPECT_GT(files, 200U) << "the source folder was not found";
}

TEST(Layers, TheTableHasNoCircle) {
    Layers rest = DrawnLayers();
    // Removes the rooms that include nothing but themselves and what was removed before, until nothing changes.
    for (bool removed = true; removed;) {
        removed = false;
        for (auto row = rest.begin(); row != rest.end();) {
            const bool isBottom = std::none_of(row->second.begin(), row->second.end(),
                                               [&](const std::string& other) { return rest.contains(other); });
            row = isBottom ? rest.erase(row) : std::next(row);
            removed = removed || isBottom;
        }
    }
    std::string circle;
    for (const auto& [room, allowed] : rest) {
        circle += room + ' ';
    }
    EXPECT_EQ(circle, "");
}

TEST(Layers, EveryRowNamesFilesThatExistAndRowsThatExist) {
    const Layers layers = DrawnLayers();
    EXPECT_FALSE(layers.empty());
    for (const auto& [room, allowed] : layers) {
        const std::filesystem::path path = sourceFolder / "src" / room;
        EXPECT_TRUE(std::filesystem::exists(path) || std::filesystem::exists(path.string() + ".h") ||
                    std::filesystem::exists(path.string() + ".cpp"))
            << room;
        for (const std::string& other : allowed) {
            EXPECT_TRUE(layers.contains(other)) << room << " names " << other;
        }
    }
}

TEST(Layers, AnIncludeInTheWrongDirectionIsReported) {
    const Layers layers = ReadLayers(
        "## Layers\n| Room | May include |\n|---|---|\n| `kit` | |\n| `page` | `kit` | x `window` |\n| `window` | "
        "`page` |\n");
    EXPECT_TRUE(FindViolations(layers, "page/Home.cpp", "#include \"kit/Button.h\"\n#include <vector>\n").empty());
    EXPECT_TRUE(FindViolations(layers, "window/Main.cpp", "#include \"kit/Button.h\"\n").empty());
    EXPECT_EQ(FindViolations(layers, "page/Home.cpp", "#include \"window/Main.h\"\n"),
              std::vector<std::string>{"page/Home.cpp includes window/Main.h: page may not include window"});
    EXPECT_EQ(FindViolations(layers, "feed/Feed.cpp", ""),
              std::vector<std::string>{"feed/Feed.cpp belongs to no row of the table"});
    EXPECT_EQ(FindViolations(layers, "page/Home.cpp", "#include \"Button.h\"\n").size(), 1U);
}

}  // namespace
