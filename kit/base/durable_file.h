#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "kit/base/file_descriptor.h"

namespace Kit {

/**
 * A file that appears under its name whole, and survives a power cut from then on:
 *
 *     DurableFile file("/media/card/out.data", DurableFile::Existing::kKept);
 *     file.write(bytes);
 *     file.finish();
 *
 * What is written goes to a hidden temporary file beside the target, which finish() flushes to
 * storage and renames. Owns the temporary file and two descriptors. One thread at a time.
 *
 * Until finish() has renamed the file, the target is as it was before; an object that is destroyed
 * without finish(), as after an exception, removes the temporary file. Every function but the
 * destructor throws Kit::Error "name: reason" when the system refuses; then only destruction is
 * meaningful.
 */
class DurableFile {
public:
    /** What becomes of a file that already has the name. */
    enum class Existing {
        kKept,     // finish() fails
        kReplaced  // the new file takes its place
    };

    /**
     * Creates the temporary file.
     *
     * @param path of the file. A symbolic link there is replaced, not followed.
     * @param name of the file in messages; the path when it is empty.
     * @param mode of the new file, less the process's umask.
     */
    DurableFile(std::string path, Existing existing, std::string name = {}, mode_t mode = 0666);
    /** Removes the temporary file unless finish() has renamed it. */
    ~DurableFile();
    DurableFile(DurableFile const&) = delete;
    DurableFile& operator=(DurableFile const&) = delete;

    /** Appends bytes, of any number; small pieces are collected. */
    void write(std::string_view bytes);

    /** Replaces bytes that were written before, from `offset` bytes on: a count in a header. */
    void overwrite(uint64_t offset, std::string_view bytes);

    /** The number of bytes that were appended. */
    uint64_t size() const { return written_ + collected_.size(); }

    /** Gives the file the owner, group and mode in `status`, which is another file's. */
    void set_owner_and_mode(struct stat const& status);

    /** Gives the file exactly this mode, whatever the umask. */
    void set_mode(mode_t mode);

    /**
     * Flushes all that was written to storage, so that the temporary file can be read back before
     * finish(). After a failure the data may be lost although a later flush succeeds.
     */
    void flush();

    /**
     * Flushes the file, renames it to its name and flushes it and its directory again.
     *
     * @throws Error "name: already exists" when there is such a file, which is to be kept. "name:
     *         written, but not flushed to storage: reason" when the file has its name already; a
     *         power cut may lose it.
     */
    void finish();

    /** The path of the file. */
    std::string const& path() const { return path_; }

    /** Where the file is until finish() renames it. */
    std::string const& temporary_path() const { return temporary_path_; }

private:
    void create(mode_t mode);
    void put_collected();
    void put(uint64_t offset, std::string_view bytes);
    void rename_to_target();
    void flush_in_place();
    void check(bool succeeded) const;
    [[noreturn]] void fail(std::string const& what) const;

    std::string path_;
    std::string name_;
    Existing existing_;
    std::string temporary_path_;  // empty when there is no temporary file
    FileDescriptor directory_;    // none where the directory cannot be opened to be flushed
    FileDescriptor file_;
    std::string collected_;
    uint64_t written_ = 0;
    bool is_flushed_ = false;
};

}  // namespace Kit
