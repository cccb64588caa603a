#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "kit/base/block_reader.h"

namespace Kit {

/**
 * Finds where a recording goes on after damage: at the next record that is credible, or the next
 * header that is. Moves the input, which must outlive it. One thread at a time.
 *
 * A record is credible when its tag is the expected one and its payload is a radar's frame. Where
 * no tag is expected, any recorder's will do, but behind the record comes another one of that tag,
 * a header or the end.
 */
class RecordSearch {
public:
    enum class Result { kFound, kEnd, kNotYet };

    /** @param growing whether there may be more at the end of the input later. */
    RecordSearch(BlockReader& input, bool growing) : input_(input), growing_(growing) {}

    /**
     * Begins behind the first byte of damage, at which the input is.
     *
     * @param expected_tag the tag of every record, where that is certain.
     * @param record_size size of the record that is there, by its own account; 0 when it cannot be
     * right. If the next record stands right behind it, nothing inside is taken for one.
     */
    void begin(std::optional<uint32_t> expected_tag, size_t record_size);

    /**
     * Moves the input to the place that was found, or to its end. kNotYet when what is there so far
     * does not tell; another call goes on.
     */
    Result run();

    /** From now on there will be no more at the end of the input. */
    void stop_growing() { growing_ = false; }

    /** Whether a credible record or header is where the input is; kNotYet as for run(). */
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

/** Whether `rest`, what is behind a record with `tag`, is as it has to be: a record, a header, or
 * nothing. Fewer than 8 bytes are judged by what is there. */
bool continues_recording(std::string_view rest, uint32_t tag);

}  // namespace Kit
