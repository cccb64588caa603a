#include <gmock/gmock.h>

#include <algorithm>
#include <set>

#include "lib/elf_file.h"

namespace {

using test_support::ElfFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/** The name of a function or an object, without what it returns and what it takes. */
std::string bare_name(std::string const& symbol) {
    const std::string name = symbol.substr(0, symbol.find('('));
    int depth = 0;
    for (std::size_t i = name.size(); i-- > 0;) {
        if (name.compare(i, 1, ">") == 0 && name.find("operator") == std::string::npos) ++depth;
        if (name.compare(i, 1, "<") == 0 && depth > 0) --depth;
        if (depth == 0 && name[i] == ' ') return name.substr(i + 1);
    }
    return name;
}

/** The class or the namespace that a symbol belongs to; empty for the global one. */
std::string scope_of(std::string const& symbol) {
    for (char const* of_a_class : {"vtable for ", "typeinfo for ", "typeinfo name for "}) {
        const std::string beginning = of_a_class;
        if (symbol.rfind(beginning, 0) == 0) return symbol.substr(beginning.size());
    }
    const std::string name = bare_name(symbol);
    const std::size_t end = name.substr(0, name.find('<')).rfind("::");
    return end == std::string::npos ? "" : name.substr(0, end);
}

bool is_namespace(std::string const& scope) {
    return scope.empty() || scope == "Radar" || scope == "RO" || scope == "Petrel";
}

/** The classes that have exported members. */
std::set<std::string> classes_of(ElfFile const& file) {
    std::set<std::string> classes;
    for (std::string const& symbol : file.exported()) {
        const std::string scope = scope_of(symbol);
        if (!is_namespace(scope)) classes.insert(scope);
    }
    return classes;
}

/** The exported functions and objects that are members of no class. */
std::vector<std::string> free_symbols_of(ElfFile const& file) {
    std::vector<std::string> result;
    for (std::string const& symbol : file.exported()) {
        if (is_namespace(scope_of(symbol))) result.push_back(symbol);
    }
    return result;
}

/** What a file needs, but for the language's and the sanitizers' runtimes. */
std::vector<std::string> needed_by(ElfFile const& file) {
    std::vector<std::string> result;
    for (std::string const& name : file.texts(DT_NEEDED)) {
        const std::string stem = name.substr(0, name.find('.'));
        static const std::set<std::string> runtimes = {
            "libc",  "libm",    "libstdc++", "libgcc_s", "libpthread",
            "libdl", "libasan", "libubsan",  "libtsan",  "liblsan"};
        const bool is_loader = stem.rfind("ld-linux", 0) == 0;
        if (runtimes.count(stem) == 0 && !is_loader) result.push_back(stem);
    }
    return result;
}

class SharedObjectsTest : public testing::Test {
protected:
    const ElfFile radar{PETRELRADAR_SHARED_LIBRARY};
    const ElfFile petrel{PETREL_SHARED_LIBRARY};
};

TEST_F(SharedObjectsTest, TheLibraryExportsItsClassesAndTheFrames) {
    EXPECT_THAT(classes_of(radar),
                UnorderedElementsAre(
                    "Radar::SocketBuffer", "Radar::SocketBuffer::iterator", "Radar::RadarSocket",
                    "Radar::RadarField", "Radar::RadarInterface", "Radar::SPIRadarInterface",
                    "Radar::RadarStatusInterface", "Radar::Failure", "Radar::FailureSignal",
                    "Radar::HysteresFailureSignal", "Radar::Configuration", "Radar::Timeout",
                    "Radar::Watchdog", "Radar::FileWriter", "Radar::DataFileWriter",
                    "Radar::ObjectFileWriter", "Radar::ObjectFileWriterThread",
                    "Radar::DiagnosticFileWriter", "RO::TargetData", "RO::RadarObjects",
                    "google::protobuf::Arena"));
}

/** The functions and objects of a class that are exported, but for its constructors and destructor.
 */
std::set<std::string> members_of(ElfFile const& file, std::string const& name) {
    const std::string bare_class = name.substr(name.rfind("::") + 2);
    std::set<std::string> members;
    for (std::string const& symbol : file.exported()) {
        if (scope_of(symbol) != name || symbol.find(" for ") != std::string::npos) continue;
        const std::string tagged = bare_name(symbol).substr(name.size() + 2);
        const std::string member = tagged.substr(0, tagged.find("[abi:"));
        if (member != bare_class && member != "~" + bare_class) members.insert(member);
    }
    return members;
}

/** A class of the library and what programs may use of it. */
struct ExportedClass {
    char const* name;
    std::set<std::string> members;
};

void PrintTo(ExportedClass const& one, std::ostream* os) {
    *os << one.name;
}

class ExportedClassTest : public SharedObjectsTest,
                          public testing::WithParamInterface<ExportedClass> {};

INSTANTIATE_TEST_SUITE_P(
    Library, ExportedClassTest,
    testing::Values(
        ExportedClass{"Radar::SocketBuffer",
                      {"reserve", "size", "push_back", "add_targets", "operator[]", "begin", "end",
                       "set_timestamp", "timestamp", "clear", "data", "set_data", "set_fd",
                       "remove_fd", "send_buffer", "send", "operator<<"}},
        ExportedClass{"Radar::SocketBuffer::iterator",
                      {"operator++", "operator*", "operator->", "operator==", "operator!="}},
        ExportedClass{"Radar::RadarSocket", {"internal", "external"}},
        ExportedClass{"Radar::RadarField", {}},
        ExportedClass{"Radar::RadarInterface",
                      {"read_field", "write_field", "write_fields", "write_registers",
                       "populate_cache", "clear_cache"}},
        ExportedClass{"Radar::SPIRadarInterface",
                      {"write_register", "read_register", "format_data"}},
        ExportedClass{"Radar::RadarStatusInterface",
                      {"instance", "set_radar_status_callback", "get_radar_status"}},
        ExportedClass{"Radar::Failure",
                      {"reason", "begin", "end", "exists", "state", "str", "add", "set"}},
        ExportedClass{"Radar::FailureSignal", {"set", "unset", "state"}},
        ExportedClass{"Radar::HysteresFailureSignal", {"set", "unset"}},
        ExportedClass{"Radar::Configuration", {"instance", "read", "write", "get", "set", "add"}},
        ExportedClass{"Radar::Timeout", {"set_timeout", "is_triggered"}},
        ExportedClass{"Radar::Watchdog", {"kick", "is_triggered"}},
        ExportedClass{"Radar::FileWriter",
                      {"open", "try_open", "check_open", "is_open", "write", "write_file_header",
                       "increment_frame_counter", "get_bytes_written", "setMaxFileCount", "close"}},
        ExportedClass{
            "Radar::DataFileWriter",
            {"write", "setEnabled", "restart", "setFileTime", "setMaxFileSize", "configure"}},
        ExportedClass{"Radar::ObjectFileWriter", {"formatData", "write", "configure"}},
        ExportedClass{"Radar::ObjectFileWriterThread",
                      {"write", "push_buf", "pop_buf", "writer", "writer_main", "configure"}},
        ExportedClass{"Radar::DiagnosticFileWriter", {"configure"}}));

TEST_P(ExportedClassTest, ExportsWhatProgramsMayUseAndNoHelpers) {
    EXPECT_EQ(members_of(radar, GetParam().name), GetParam().members);
}

TEST_F(SharedObjectsTest, TheOneRegistryCannotBeConstructedOrDestroyedByPrograms) {
    for (std::string const& symbol : radar.exported()) {
        EXPECT_THAT(symbol, testing::Not(testing::HasSubstr("RadarStatusInterface::RadarStatus")));
        EXPECT_THAT(symbol, testing::Not(testing::HasSubstr("::~RadarStatusInterface")));
    }
}

TEST_F(SharedObjectsTest, OfProtobufTheLibraryExportsTheMakersOfItsFramesOnly) {
    auto symbols = radar.exported();
    symbols.erase(std::remove_if(symbols.begin(), symbols.end(),
                                 [](std::string const& symbol) {
                                     return scope_of(symbol) != "google::protobuf::Arena";
                                 }),
                  symbols.end());
    EXPECT_THAT(symbols, UnorderedElementsAre(
                             "RO::RadarObjects* google::protobuf::Arena::CreateMaybeMessage<"
                             "RO::RadarObjects>(google::protobuf::Arena*)",
                             "RO::TargetData* google::protobuf::Arena::CreateMaybeMessage<"
                             "RO::TargetData>(google::protobuf::Arena*)"));
}

TEST_F(SharedObjectsTest, TheLibraryExportsItsFreeFunctionsAndTheEmptyMessages) {
    std::set<std::string> names;
    for (std::string const& symbol : free_symbols_of(radar)) names.insert(bare_name(symbol));
    EXPECT_THAT(names,
                UnorderedElementsAre("get_sensitivity", "get_height", "get_tilt", "file_exist",
                                     "scan_recorded_files", "operator<<", "Radar::operator<<",
                                     "RO::_TargetData_default_instance_",
                                     "RO::_RadarObjects_default_instance_"));
}

TEST_F(SharedObjectsTest, TheLibraryPrintsTargetsTimesAndMaps) {
    auto symbols = free_symbols_of(radar);
    EXPECT_THAT(symbols,
                testing::Contains("Radar::operator<<(std::ostream&, RO::TargetData const&)"));
    EXPECT_THAT(symbols, testing::Contains("Radar::operator<<(std::ostream&, timeval const&)"));
    EXPECT_EQ(std::count_if(symbols.begin(), symbols.end(),
                            [](std::string const& symbol) {
                                return symbol.find("operator<<") != std::string::npos;
                            }),
              3);
}

TEST_F(SharedObjectsTest, TheFrameworkExportsItsClassesAndTheSink) {
    EXPECT_THAT(classes_of(petrel), UnorderedElementsAre("Petrel::Block", "Petrel::FDPort"));
    EXPECT_THAT(free_symbols_of(petrel), ElementsAre("logger"));
}

TEST_F(SharedObjectsTest, ReferencesBetweenLibrariesCanBeReplacedByTheProgram) {
    for (ElfFile const* file : {&radar, &petrel}) {
        EXPECT_THAT(file->values(DT_SYMBOLIC), IsEmpty());
        for (auto const flags : file->values(DT_FLAGS)) EXPECT_EQ(flags & DF_SYMBOLIC, 0U);
    }
}

TEST_F(SharedObjectsTest, TheirNamesCarryTheVersionOfTheInterface) {
    EXPECT_THAT(radar.texts(DT_SONAME),
                ElementsAre("libpetrelradar-shared.so." PETRELRADAR_ABI_VERSION));
    EXPECT_THAT(petrel.texts(DT_SONAME),
                ElementsAre("libpetrel-shared.so." PETRELRADAR_ABI_VERSION));
}

TEST_F(SharedObjectsTest, TheLibraryNeedsProtobufGlibAndTheFrameworkAndTheFrameworkNothing) {
    EXPECT_THAT(needed_by(radar),
                UnorderedElementsAre("libprotobuf", "libpetrel-shared", "libglib-2"));
    EXPECT_THAT(needed_by(petrel), IsEmpty());
}

}  // namespace
