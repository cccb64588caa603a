#pragma once

#include <memory>
#include <string>

#include "filewriter/diagnostic_file_writer.h"
#include "filewriter/object_file_writer.h"

namespace Service {

/**
 * One of the library's recorders, as a recording thread drives it file by file. The limits of the
 * library are off: its caller decides when a file ends. One thread at a time.
 */
class RecordWriter {
public:
    RecordWriter() = default;
    virtual ~RecordWriter() = default;
    RecordWriter(RecordWriter const&) = delete;
    RecordWriter& operator=(RecordWriter const&) = delete;

    /** Begins a file with its header, while none is open. Returns 0, or the system's reason. */
    virtual int begin() = 0;

    /** The path of the open file. */
    virtual std::string path() const = 0;

    /** What came of a record. */
    struct Written {
        /** Whether the header counts it. The record itself may be in the file in no case, a part of
         * it or all of it. */
        bool counted = false;
        /** The system's reason where something failed. */
        int error = 0;
    };

    /** Writes one record to the open file and counts it in the header. */
    virtual Written write(std::string const& record) = 0;

    /** Completes the open file: closes it, flushes it and renames it. */
    virtual void complete() = 0;

    /** Closes the open file and leaves it, and its name, as they are. */
    virtual void abandon() = 0;
};

/** How many completed files to keep; 0 or less keeps all. */
struct RecordWriterLimits {
    int max_file_count = -1;
};

/** For frames of targets, in records with the tag 0xFEED0000 | `id`. */
std::unique_ptr<RecordWriter> make_object_writer(int id, std::string const& directory,
                                                 RecordWriterLimits limits);

/** For records that are written as they are, into files whose names begin with `prefix`. */
std::unique_ptr<RecordWriter> make_data_writer(std::string const& directory,
                                               std::string const& prefix,
                                               RecordWriterLimits limits);

/** For diagnostics, into "/tmp/radar-diagnostics", which exists. */
std::unique_ptr<RecordWriter> make_diagnostic_writer(int id, RecordWriterLimits limits);

}  // namespace Service
