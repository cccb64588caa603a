#pragma once

#include <link.h>

#include <string>
#include <vector>

namespace test_support {

/** What the dynamic linker sees of a shared object that was built for this machine. */
class ElfFile {
public:
    /** Reads the file; throws std::runtime_error when it is not such an object. */
    explicit ElfFile(std::string const& path);

    /** The demangled names of the symbols that it offers to others; sorted, each one once. */
    std::vector<std::string> exported() const;

    /** The values of a dynamic tag, as numbers. */
    std::vector<ElfW(Xword)> values(ElfW(Sxword) tag) const;

    /** The values of a dynamic tag, as texts. */
    std::vector<std::string> texts(ElfW(Sxword) tag) const;

private:
    ElfW(Shdr) const* section(ElfW(Word) type) const;
    template <typename Entry>
    std::vector<Entry> entries(ElfW(Word) type) const;
    std::string text(ElfW(Word) section_type, std::size_t offset) const;

    std::string content_;
    std::vector<ElfW(Shdr)> sections_;
};

}  // namespace test_support
