#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Tools {

/**
 * A file that appears whole: what is written goes to a file beside it, which takes its name when
 * finish() is called. Without that, as after an exception, what was written is removed and the file
 * is as it was before. One thread at a time.
 *
 * All but the constructor throws Kit::Error "path: reason" when the system refuses.
 */
class OutputFile {
public:
    /**
     * Begins to write the file `path`.
     *
     * @param force whether it may replace a file that is there.
     * @throws Kit::Error when the file is there and may not be replaced, is no regular file,
     *         or cannot be written in its directory.
     */
    OutputFile(std::string const& path, bool force);
    ~OutputFile();
    OutputFile(OutputFile const&) = delete;
    OutputFile& operator=(OutputFile const&) = delete;

    /** Adds bytes at the end. Collects them; data of any size will do. */
    void write(std::string_view bytes);

    /** Replaces bytes that were written before, such as a count in a header. */
    void overwrite(uint64_t offset, std::string_view bytes);

    /** The number of bytes that were written. */
    uint64_t size() const { return written_ + collected_.size(); }

    /** Flushes the file to storage and gives it its name, also when it is replaced meanwhile. */
    void finish();

    std::string const& path() const { return final_path_; }

private:
    void flush();
    void put(uint64_t offset, std::string_view bytes);
    void give_name();
    void flush_directory() const;
    [[noreturn]] void fail(int error) const;

    std::string final_path_;
    std::string partial_path_;
    bool replaces_;
    int fd_ = -1;
    std::string collected_;
    uint64_t written_ = 0;
};

/**
 * @throws Kit::Error when `output` is the same file as `input`, or a link to it: an input is
 *         never changed, also with --force.
 */
void refuse_same_file(std::string const& input, std::string const& output);

}  // namespace Tools
