#pragma once

#include <gmock/gmock.h>

#include <fstream>
#include <string>
#include <vector>

#include "kit/recording/scanner.h"
#include "tests/kit/recording/scan_items.h"
#include "tests/support/private_paths.h"
#include "tests/support/recording_bytes.h"

namespace recording_test {

using Kit::RecordingScanner;
using test_support::frame;
using test_support::items;
using test_support::record;

constexpr char kPath[] = "/tmp/radar_150525_093007_042.data";

/** Scans of a file at a private path. */
class RecordingScannerTest : public test_support::PrivatePathsTest {
protected:
    /** What a scan of a file with these bytes gives. */
    static std::vector<std::string> scan(std::string const& bytes) {
        test_support::write_file(kPath, bytes);
        RecordingScanner scanner(kPath);
        return items(scanner);
    }

    /** The text of the first finding in these bytes. */
    static std::string text(std::string const& bytes) {
        test_support::write_file(kPath, bytes);
        RecordingScanner scanner(kPath);
        RecordingScanner::Item item = scanner.next();
        while (item != RecordingScanner::Item::kFinding && item != RecordingScanner::Item::kEnd) {
            item = scanner.next();
        }
        return item == RecordingScanner::Item::kFinding ? scanner.finding().text : "none";
    }

    static void append(std::string const& bytes) {
        std::ofstream(kPath, std::ios::binary | std::ios::app) << bytes;
    }

    // A record without targets and with a timestamp below 128 has 8 + 7 bytes: three of them stand
    // at 40, 55 and 70 and end at 85.
    const std::string first = record(frame(1));
    const std::string second = record(frame(2));
    const std::string third = record(frame(3));
};

}  // namespace recording_test
