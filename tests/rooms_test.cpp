// The plan of the house on docs/architecture.md, and whether the sources keep it.

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Texts = std::vector<std::string>;

/** The page, and the text of every file by its path in the tree. */
struct House {
    std::string page;
    std::map<std::string, std::string> files;
};

std::string before(std::string const& text, char mark) {
    return text.substr(0, text.find(mark));
}

bool ends_with(std::string const& text, std::string const& end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool is_code(std::string const& path) {
    return ends_with(path, ".h") || ends_with(path, ".cpp");
}

/** Header and source of a class are one. */
std::string stem_of(std::string const& path) {
    return path.substr(0, path.rfind('.'));
}

std::string folder_of(std::string const& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

/** What stands in back quotes, without the slash of a folder. */
Texts names_in(std::string const& cell) {
    static const std::regex kQuoted("`([^`]+?)/?`");
    Texts names;
    for (std::sregex_iterator found(cell.begin(), cell.end(), kQuoted), end; found != end; ++found)
        names.push_back((*found)[1]);
    return names;
}

/** The floors and rooms of the page. */
class Plan {
public:
    explicit Plan(std::string const& page) {
        std::istringstream lines(page);
        std::optional<std::string> folder;  // whose rooms the table lists; empty: of the house
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind("| floor |", 0) == 0) {
                const Texts names = names_in(cells(line)[1]);
                folder = names.empty() ? "" : names[0];
            } else if (line.rfind("| ", 0) != 0 && line.rfind("|-", 0) != 0) {
                folder.reset();
            } else if (folder && line.rfind("|-", 0) != 0) {
                add(*folder, cells(line));
            }
        }
    }

    bool has(std::string const& room) const { return floors_.count(room) != 0; }
    int floor(std::string const& room) const { return floors_.at(room); }
    std::set<std::string> const& uses(std::string const& folder) const { return uses_.at(folder); }
    std::map<std::string, int> const& floors() const { return floors_; }

    /** "kit/base" of "kit/base/error.h", "tools/." of "tools/main.cpp", "chip" of "chip/main.cpp".
     */
    std::string room_of(std::string const& path) const {
        const std::string folder = before(path, '/');
        if (has(path)) return path;
        if (divided_.count(folder) == 0) return folder;
        const std::string rest = path.substr(folder.size() + 1);
        return folder + "/" + (rest.find('/') == std::string::npos ? "." : before(rest, '/'));
    }

private:
    static Texts cells(std::string const& line) {
        Texts all;
        std::istringstream row(line.substr(1));
        for (std::string cell; std::getline(row, cell, '|');) all.push_back(cell);
        return all;
    }

    void add(std::string const& folder, Texts const& row) {
        for (std::string const& name : names_in(row.at(1))) {
            floors_[(folder.empty() ? "" : folder + "/") + name] = std::stoi(row.at(0));
            if (!folder.empty()) divided_.insert(folder);
            if (!folder.empty()) continue;
            const Texts used = names_in(row.at(3));
            uses_[name].insert(used.begin(), used.end());
        }
    }

    std::map<std::string, int> floors_;
    std::map<std::string, std::set<std::string>> uses_;
    std::set<std::string> divided_;  // folders with rooms
};

/** What is wrong with a house, a line a fault. */
class Inspection {
public:
    explicit Inspection(House const& house) : house_(house), plan_(house.page) {
        for (auto const& [path, text] : house_.files) {
            folders_.insert(folder_of(path));
            if (is_code(path) && is_product(path)) inspect(path, text);
            if (ends_with(path, "_test.cpp")) inspect_test(path);
        }
        for (auto const& [room, floor] : plan_.floors()) {
            if (!stands(room)) faults_.push_back(room + ": on the page, not in the tree");
        }
        for (auto const& [stem, ignored] : includes_) find_circle(stem);
    }

    Texts const& faults() const { return faults_; }

private:
    static bool is_product(std::string const& path) {
        const std::string folder = before(path, '/');
        return folder != "tests" && folder != "docs";
    }

    void inspect(std::string const& path, std::string const& text) {
        const std::string room = plan_.room_of(path);
        if (!plan_.has(room) || !plan_.has(before(path, '/'))) {
            if (missing_.insert(room).second) faults_.push_back(room + ": not on the page");
            return;
        }
        static const std::regex kInclude("(?:^|\n) *# *include *[\"<]([^\">]+)[\">]");
        for (std::sregex_iterator found(text.begin(), text.end(), kInclude), end; found != end;
             ++found) {
            const auto used = resolve((*found)[1]);
            if (!used || stem_of(*used) == stem_of(path)) continue;
            includes_[stem_of(path)].insert(stem_of(*used));
            const std::string fault = fault_of(path, *used);
            if (!fault.empty()) faults_.push_back(path + " includes " + *used + ": " + fault);
        }
    }

    std::optional<std::string> resolve(std::string const& name) const {
        for (char const* const root : {"", "lib/", "lib/include/", "petrel/include/"}) {
            if (house_.files.count(root + name) != 0) return root + name;
        }
        return std::nullopt;
    }

    /** Why a file may not include another; empty when it may. */
    std::string fault_of(std::string const& path, std::string const& used) const {
        const std::string folder = before(path, '/');
        const std::string used_folder = before(used, '/');
        std::string room = folder;
        std::string used_room = used_folder;
        if (folder == used_folder) {
            room = plan_.room_of(path);
            used_room = plan_.room_of(used);
            if (room == used_room) return "";
        } else if (plan_.uses(folder).count(used_folder) == 0) {
            return folder + " does not use " + used_folder;
        }
        if (!plan_.has(used_room)) return "";  // told of the room itself
        if (plan_.floor(used_room) > plan_.floor(room)) return used_room + " is above " + room;
        return plan_.floor(used_room) == plan_.floor(room) ? used_room + " is beside " + room : "";
    }

    /** Whether a room of the page is in the tree: as a folder, or as a file. */
    bool stands(std::string const& room) const {
        if (house_.files.count(room) != 0) return true;
        const std::string folder = ends_with(room, "/.") ? folder_of(room) : room;
        return std::any_of(folders_.begin(), folders_.end(),
                           [&](std::string const& each) {
                               return each == folder || each.rfind(folder + "/", 0) == 0;
                           }) ||
               has_files(folder);
    }

    bool has_files(std::string const& folder) const {
        const auto next = house_.files.lower_bound(folder + "/");
        return next != house_.files.end() && next->first.rfind(folder + "/", 0) == 0;
    }

    /** A test stands in the folder of what it tests, and begins with its stem. */
    void inspect_test(std::string const& path) {
        const std::string folder = folder_of(path.substr(std::string("tests/").size()));
        const std::string name = fs::path(path).filename().string();
        if (path.rfind("tests/", 0) != 0) {
            faults_.push_back(path + ": a test outside tests/");
        } else if (folder.empty() || is_of_whole(folder + "/" + name)) {
            return;
        } else if (!has_files(folder)) {
            faults_.push_back(path + ": " + folder + " has no sources");
        } else if (!has_stem(folder, name)) {
            faults_.push_back(path + ": begins with no source of " + folder);
        }
    }

    /** Tests of programs, of scripts or of the built libraries as a whole. */
    static bool is_of_whole(std::string const& test) {
        constexpr char const* kWholes[] = {"faults/", "scripts/", "service/host_",
                                           "service/service_page_", "lib/shared_objects_"};
        return std::any_of(std::begin(kWholes), std::end(kWholes),
                           [&](std::string const& whole) { return test.rfind(whole, 0) == 0; });
    }

    bool has_stem(std::string const& folder, std::string const& test) const {
        return std::any_of(house_.files.begin(), house_.files.end(), [&](auto const& file) {
            // The framework's headers and sources stand in two folders below.
            const bool is_there = folder == "petrel" ? file.first.rfind("petrel/", 0) == 0
                                                     : folder_of(file.first) == folder;
            const std::string stem = fs::path(file.first).stem().string();
            return is_there && test.rfind(stem + "_", 0) == 0;
        });
    }

    /** Reports each circle once. */
    void find_circle(std::string const& stem) {
        if (done_.count(stem) != 0) return;
        const auto again = std::find(way_.begin(), way_.end(), stem);
        if (again != way_.end()) {
            std::string circle;
            for (auto each = again; each != way_.end(); ++each) circle += *each + " -> ";
            faults_.push_back("circle: " + circle + stem);
            return;
        }
        way_.push_back(stem);
        const auto next = includes_.find(stem);
        if (next != includes_.end()) {
            for (std::string const& used : next->second) find_circle(used);
        }
        way_.pop_back();
        done_.insert(stem);
    }

    House const& house_;
    Plan plan_;
    Texts faults_;
    std::set<std::string> folders_;
    std::set<std::string> missing_;
    std::map<std::string, std::set<std::string>> includes_;  // by stem
    std::set<std::string> done_;
    Texts way_;
};

Texts faults_of(House const& house) {
    return Inspection(house).faults();
}

std::string read(fs::path const& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/** Hidden folders and those that builds make are no part of the house. */
bool is_passed_over(fs::path const& path) {
    const std::string name = path.filename().string();
    return name[0] == '.' || name.rfind("build", 0) == 0 || name == "node_modules";
}

House this_house() {
    const fs::path root = PETRELRADAR_SOURCE_DIR;
    House house{read(root / "docs/architecture.md"), {}};
    for (fs::recursive_directory_iterator entry(root), end; entry != end; ++entry) {
        if (is_passed_over(entry->path())) {
            entry.disable_recursion_pending();
        } else if (entry->is_regular_file()) {
            const std::string path = fs::relative(entry->path(), root).string();
            if (path.find('/') != std::string::npos)
                house.files[path] = is_code(path) ? read(entry->path()) : "";
        }
    }
    return house;
}

TEST(RoomsTest, ThisHouseKeepsItsPlan) {
    const House house = this_house();
    ASSERT_GT(house.files.size(), 300u);
    for (std::string const& fault : faults_of(house)) ADD_FAILURE() << fault;
}

/** A house of two folders, one of which has three rooms on two floors. */
House small_house() {
    return {
        "| floor | folder | holds | uses |\n"
        "|---|---|---|---|\n"
        "| 1 | `kit/` | what is shared | – |\n"
        "| 2 | `chip/` | the chip | `kit/` |\n"
        "| 2 | `host/` | the host | |\n"
        "\n"
        "| floor | room of `kit/` | holds |\n"
        "|---|---|---|\n"
        "| 1 | `base/` | errors |\n"
        "| 2 | `left/`, `right/` | more |\n"
        "| 3 | `.` | the rest |\n",
        {{"kit/base/error.h", "#include <string>\n"},
         {"kit/left/reader.h", "#pragma once\n#include \"kit/base/error.h\"\n"},
         {"kit/left/reader.cpp", "#include \"kit/left/reader.h\"\n"},
         {"kit/right/writer.h", ""},
         {"kit/all.h", "#include \"kit/left/reader.h\"\n"},
         {"chip/chip.cpp", "#include \"kit/right/writer.h\"\n"},
         {"host/host.cpp", ""},
         {"tests/kit/left/reader_test.cpp", "#include \"kit/left/reader.h\"\n"},
         {"tests/kit/left/reader_damage_test.cpp", ""}}};
}

TEST(RoomsTest, AHouseThatKeepsItsPlanHasNoFault) {
    EXPECT_THAT(faults_of(small_house()), IsEmpty());
}

TEST(RoomsTest, AnIncludeOfAHigherRoomIsAFault) {
    House house = small_house();
    house.files["kit/base/error.h"] = "#include \"kit/right/writer.h\"\n";
    EXPECT_THAT(faults_of(house),
                ElementsAre("kit/base/error.h includes kit/right/writer.h: kit/right is above "
                            "kit/base"));
}

TEST(RoomsTest, AnIncludeOfARoomBesideIsAFault) {
    House house = small_house();
    house.files["kit/left/reader.cpp"] = "// Reads.\n#include \"kit/right/writer.h\"\n";
    EXPECT_THAT(faults_of(house), ElementsAre(HasSubstr("kit/right is beside kit/left")));
}

TEST(RoomsTest, AnIncludeOfAFolderThatThePageDoesNotAllowIsAFault) {
    House house = small_house();
    house.files["host/host.cpp"] = "#include \"kit/base/error.h\"\n";
    EXPECT_THAT(faults_of(house), ElementsAre(HasSubstr("host does not use kit")));
}

TEST(RoomsTest, AHigherFolderIsNotUsedEvenWhereThePageSaysSo) {
    House house = small_house();
    house.page.replace(house.page.find("| – |"), std::string("| – |").size(), "| `chip/` |");
    house.files["kit/right/writer.h"] = "#include \"chip/chip.h\"\n";
    house.files["chip/chip.h"] = "";
    EXPECT_THAT(faults_of(house),
                ElementsAre(HasSubstr("chip is above kit"), HasSubstr("circle: chip/chip -> ")));
}

TEST(RoomsTest, FilesThatIncludeInACircleAreAFault) {
    House house = small_house();
    house.files["kit/right/list.h"] = "#include \"kit/right/writer.h\"\n";
    house.files["kit/right/writer.cpp"] = "#include \"kit/right/list.h\"\n";
    EXPECT_THAT(faults_of(house),
                ElementsAre("circle: kit/right/writer -> kit/right/list -> kit/right/writer"));
}

TEST(RoomsTest, ARoomThatIsNotOnThePageIsAFault) {
    House house = small_house();
    house.files["kit/cellar/box.h"] = "";
    EXPECT_THAT(faults_of(house), ElementsAre("kit/cellar: not on the page"));
}

TEST(RoomsTest, AFolderThatIsNotOnThePageIsAFault) {
    House house = small_house();
    house.files["cellar/box.h"] = "";
    EXPECT_THAT(faults_of(house), ElementsAre("cellar: not on the page"));
}

TEST(RoomsTest, ARoomThatIsOnThePageAloneIsAFault) {
    House house = small_house();
    house.files.erase("kit/right/writer.h");
    house.files["chip/chip.cpp"] = "";
    EXPECT_THAT(faults_of(house), ElementsAre("kit/right: on the page, not in the tree"));
}

TEST(RoomsTest, ATestWhereNoSourceStandsIsAFault) {
    House house = small_house();
    house.files["tests/kit/cellar/box_test.cpp"] = "";
    EXPECT_THAT(faults_of(house),
                ElementsAre("tests/kit/cellar/box_test.cpp: kit/cellar has no sources"));
}

TEST(RoomsTest, ATestThatBeginsWithNoSourceOfItsFolderIsAFault) {
    House house = small_house();
    house.files["tests/kit/left/writer_test.cpp"] = "";
    EXPECT_THAT(faults_of(house), ElementsAre(HasSubstr("begins with no source of kit/left")));
}

}  // namespace
