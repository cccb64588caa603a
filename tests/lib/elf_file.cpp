#include "lib/elf_file.h"

#include <cxxabi.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <stdexcept>

#include "support/private_paths.h"

namespace test_support {

namespace {

std::string demangled(std::string const& symbol) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), std::free);
    return status == 0 ? name.get() : symbol;
}

bool is_offered(ElfW(Sym) const& symbol) {
    // Both word sizes keep the binding in the upper four bits.
    const int binding = symbol.st_info >> 4;
    return symbol.st_shndx != SHN_UNDEF && (binding == STB_GLOBAL || binding == STB_WEAK);
}

}  // namespace

ElfFile::ElfFile(std::string const& path) : content_(read_file(path)) {
    ElfW(Ehdr) header = {};
    if (content_.size() < sizeof(header)) throw std::runtime_error(path + ": too short");
    std::memcpy(&header, content_.data(), sizeof(header));
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_type != ET_DYN ||
        header.e_shentsize != sizeof(ElfW(Shdr)) ||
        content_.size() < header.e_shoff + header.e_shnum * sizeof(ElfW(Shdr))) {
        throw std::runtime_error(path + ": not a shared object of this machine");
    }
    sections_.resize(header.e_shnum);
    std::memcpy(sections_.data(), content_.data() + header.e_shoff,
                sections_.size() * sizeof(ElfW(Shdr)));
}

ElfW(Shdr) const* ElfFile::section(ElfW(Word) type) const {
    for (ElfW(Shdr) const& candidate : sections_) {
        if (candidate.sh_type == type) return &candidate;
    }
    throw std::runtime_error("a section is missing");
}

template <typename Entry>
std::vector<Entry> ElfFile::entries(ElfW(Word) type) const {
    ElfW(Shdr) const* const found = section(type);
    std::vector<Entry> result(found->sh_size / sizeof(Entry));
    std::memcpy(result.data(), content_.data() + found->sh_offset, result.size() * sizeof(Entry));
    return result;
}

std::string ElfFile::text(ElfW(Word) section_type, std::size_t offset) const {
    return content_.data() + sections_.at(section(section_type)->sh_link).sh_offset + offset;
}

std::vector<std::string> ElfFile::exported() const {
    std::set<std::string> names;
    for (ElfW(Sym) const& symbol : entries<ElfW(Sym)>(SHT_DYNSYM)) {
        if (is_offered(symbol)) names.insert(demangled(text(SHT_DYNSYM, symbol.st_name)));
    }
    return {names.begin(), names.end()};
}

std::vector<ElfW(Xword)> ElfFile::values(ElfW(Sxword) tag) const {
    std::vector<ElfW(Xword)> result;
    for (ElfW(Dyn) const& entry : entries<ElfW(Dyn)>(SHT_DYNAMIC)) {
        if (entry.d_tag == DT_NULL) break;
        if (entry.d_tag == tag) result.push_back(entry.d_un.d_val);
    }
    return result;
}

std::vector<std::string> ElfFile::texts(ElfW(Sxword) tag) const {
    std::vector<std::string> result;
    for (auto const offset : values(tag)) {
        result.push_back(text(SHT_DYNAMIC, static_cast<std::size_t>(offset)));
    }
    return result;
}

}  // namespace test_support
