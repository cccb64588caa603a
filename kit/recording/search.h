#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "kit/base/block_reader.h"

namespace Kit {

/**
 * Finds where a recording resumes after damage: at the next credible record or header. Moves the
 * input, which it does not own and which must outlive it. One thread at a time.
 *
 * A record is credible when its tag is the expected one and its payload is a radar's frame. Where
 * no tag is expected, any recorder's counts, but after the record comes another one of that tag,
 * a header or the end.
 */
class RecordSearch {
public:
    enum class Result { kFound, kEnd, kNotYet };

    /** @param growing whether there may be more at the end of the input later. */
    RecordSearch(BlockReader& input, bool growing) : input_(input), growing_(growing) {}

    /**
     * Begins after the first damaged byte, which is the one at the input's position.
     *
     * @param expected_tag the tag of every record, where that is certain.
     * @param record_size size in bytes of the damaged record by its own length field; 0 when that
     *        cannot be right. If the next record follows directly, nothing inside is taken for one.
     */
    void begin(std::optional<uint32_t> expected_tag, size_t record_size);

    /**
     * Moves the input to the record or header that was found, or to its end. kNotYet when a growing
     * file has too few bytes to decide; another call continues.
     */
    Result run();

    /** From now on there will be no more at the end of the input. */
    void stop_growing() { growing_ = false; }

    /** Whether a credible record or header is at the input's position; kNotYet as for run(). */
    Result judge(std::optional<uint32_t> expected_tag);

private:
    BlockReader& input_;
    bool growing_;
    std::optional<uint32_t> tag_;
    size_t damaged_record_ = 0;
    uint64_t begin_offset_ = 0;
    uint64_t examined_ = 0;

    bool step_over_damaged_record();
    bool ends_with_records(std::string_view bytes, uint32_t expected_tag);
    size_t record_at(std::string_view bytes, uint32_t expected_tag);
    bool within_budget() const;
    Result judge_header();
    bool is_frame(std::string_view payload);
};

/**
 * Whether `rest`, the bytes after a record with `tag`, is empty or begins with such a record or
 * with a header. Of fewer than 8 bytes those that exist are compared.
 */
bool continues_recording(std::string_view rest, uint32_t tag);

}  // namespace Kit
