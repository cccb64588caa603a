#pragma once

#include <string>
#include <vector>

#include "kit/recording/scanner.h"

namespace test_support {

/** An item in a word: "header", "record@40", "cut-short@53", "skipped@53+12". */
inline std::string name_of(Kit::RecordingScanner& scanner, Kit::RecordingScanner::Item item) {
    if (item == Kit::RecordingScanner::Item::kHeader) return "header";
    if (item == Kit::RecordingScanner::Item::kEnd) return "end";
    if (item == Kit::RecordingScanner::Item::kRecord) {
        return "record@" + std::to_string(scanner.record().offset);
    }
    Kit::Finding const& finding = scanner.finding();
    const std::string name =
        std::string(Kit::name_of(finding.kind)) + "@" + std::to_string(finding.offset);
    return finding.length == 0 ? name : name + "+" + std::to_string(finding.length);
}

/** What comes up to the next end. */
inline std::vector<std::string> items(Kit::RecordingScanner& scanner) {
    std::vector<std::string> names;
    for (;;) {
        const Kit::RecordingScanner::Item item = scanner.next();
        if (item == Kit::RecordingScanner::Item::kEnd) return names;
        names.push_back(name_of(scanner, item));
    }
}

}  // namespace test_support
