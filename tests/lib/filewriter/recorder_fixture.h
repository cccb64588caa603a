#pragma once

#include <gmock/gmock.h>
#include <sys/time.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include "filewriter/file_writer.h"
#include "support/captured_log.h"
#include "support/private_paths.h"
#include "support/system_calls.h"

namespace test_support {

/** The text of the exception of a file stream that fails. */
inline std::string stream_failure_text() {
    std::ofstream stream;
    stream.exceptions(std::ios_base::failbit | std::ios_base::badbit);
    try {
        stream.open("/none/none");
    } catch (std::ios_base::failure const& failure) {
        return failure.what();
    }
    return "no failure";
}

/** Recorders with a clock that the test moves, in the time zone UTC. */
class RecorderTest : public PrivatePathsTest {
protected:
    using Log = std::vector<LogLine>;
    using Names = std::vector<std::string>;

    RecorderTest() {
        setenv("TZ", "UTC", 1);
        system_calls.gettimeofday = [this](timeval* time) {
            *time = now;
            return 0;
        };
        system_calls.time = [this] { return now.tv_sec; };
    }

    /** The line about a failed system call. */
    static LogLine failed_call(int level, std::string const& what, int error) {
        return {level, what + ": " + std::strerror(error) + "\n"};
    }

    /** The line about a failed stream. */
    static LogLine failed_stream(int level, std::string const& what) {
        return {level, what + ":" + stream_failure_text() + "\n"};
    }

    /** The name of a file that is begun at the first moment of the clock. */
    const std::string first_name = "/tmp/radar_150525_093007_042";

    timeval now = {1747301407, 42999};
    SystemCalls system_calls;
};

/** A writer that shows what its derived classes see. */
class ExposedFileWriter : public Radar::FileWriter {
public:
    using FileWriter::completed_files;
    using FileWriter::directory;
    using FileWriter::file_name;
    using FileWriter::FileWriter;
    using FileWriter::open_time;
};

/** A writer of frames in "/tmp". */
class WriterTest : public RecorderTest {
protected:
    bool write(std::string const& frame) { return writer.write(frame); }

    ExposedFileWriter writer{"/tmp", "radar", 0};
};

}  // namespace test_support
