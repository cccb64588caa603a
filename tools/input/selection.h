#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace Tools {

class OptionParser;

/** What a person selected with --start, --end and --frames; empty where they did not. */
struct SelectionOptions {
    std::string start;
    std::string end;
    std::string frames;
};

/** Adds --start, --end and --frames. */
void add_selection_options(OptionParser& parser, SelectionOptions& options);

/**
 * A moment as --start and --end name it, in us. Frames' timestamps are taken as us, since 1970 UTC
 * where the producer knows the date.
 */
struct Moment {
    enum class Origin { kAbsolute, kFirstFrame, kLastFrame };

    Origin origin = Origin::kAbsolute;
    /** Since 1970 UTC, after the first frame, or before the last one. */
    uint64_t us = 0;
};

/**
 * Reads a moment: "+10s" after the first frame; "-5s" before the last one, where the units are us,
 * ms, s (the default), min and h; "2025-05-15T09:30:07.5Z", "2025-05-15 09:30" or "2025-05-15",
 * local time unless Z or +HH:MM follows; seconds since 1970, with a fraction or not; us since 1970,
 * which are whole numbers from 100000000000 on.
 *
 * @param option what the user gave it to, for messages: "--start".
 * @throws Kit::UsageError when it is none of these.
 */
Moment parse_moment(std::string const& option, std::string const& text);

/**
 * The part of a source that was selected: it begins with the first frame at or after --start and
 * goes on, whatever the later frames' times, to before the first frame from there on that is at or
 * after --end. Of this, --frames takes those whose number in the source is in A to B, both
 * included; numbers begin with 0. One thread at a time.
 */
class Selection {
public:
    /** Selects everything. */
    Selection() = default;

    /** @throws Kit::UsageError when an option makes no sense. */
    explicit Selection(SelectionOptions const& options);

    /** Whether set_last_timestamp() has to be called before frames are judged. */
    bool needs_last_timestamp() const;
    bool ends_by_last_timestamp() const;
    void set_last_timestamp(uint64_t timestamp);

    enum class Verdict { kBefore, kSelected, kOver };

    /** Judges the source's frames, each in its turn. After kOver none is selected. */
    Verdict judge(uint64_t number, uint64_t timestamp);

private:
    uint64_t resolve(Moment const& moment) const;

    std::optional<Moment> start_;
    std::optional<Moment> end_;
    uint64_t first_number_ = 0;
    uint64_t last_number_ = UINT64_MAX;
    std::optional<uint64_t> first_timestamp_;
    uint64_t last_timestamp_ = 0;
    bool started_ = false;
};

}  // namespace Tools
