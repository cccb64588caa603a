#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kit/base/block_reader.h"
#include "kit/frames/source.h"

namespace Kit {

/**
 * A detection log: a text file with one line for each target. The first line names the columns,
 * which stand in any order: frame_index (whole number), timestamp_us (us), rcs (dB), r (m), rdot
 * (m/s), theta (rad), options (flag word), snr (dB). Adjacent lines of one frame_index are one
 * frame; frame_index and timestamp_us grow from frame to frame. Lines end with LF or CR LF; the
 * last one may end with the file.
 *
 * Owns the open file and holds one line and one frame, whatever the size of the file. One thread at
 * a time. After an InputError only rewind() and destruction are meaningful.
 */
class DetectionLog : public FrameSource {
public:
    /** A longer line is refused. */
    static constexpr size_t kMaxLine = 4096;
    /** A frame of more targets is refused. */
    static constexpr int kMaxTargets = 65536;

    /** Opens `path`, "-" being standard input, and reads the first line. @throws InputError */
    explicit DetectionLog(std::string const& path);
    /** Takes an input that is at its front. @throws InputError */
    explicit DetectionLog(std::unique_ptr<BlockReader> input);

    bool next(RO::RadarObjects& frame) override;
    void rewind() override;

private:
    enum Column { kFrameIndex, kTimestamp, kRcs, kR, kRdot, kTheta, kOptions, kSnr, kColumns };

    /** One line: a target and the frame that it belongs to. */
    struct Row {
        uint64_t frame_index = 0;
        uint64_t timestamp = 0;
        RO::TargetData target;
        /** Where each value stands in the line. */
        std::array<size_t, kColumns> begins = {};
    };

    std::unique_ptr<BlockReader> input_;
    uint64_t line_number_ = 0;
    std::vector<Column> columns_;
    /** The first row of the next frame, when there is one. */
    Row row_;
    bool has_row_ = false;

    static std::string_view name_of(Column column);
    void read_header();
    void add_column(std::string_view name, size_t begin);
    bool read_line(std::string_view& line);
    bool read_row();
    void read_value(Column column, std::string_view text);
    void check_order(uint64_t frame_index, uint64_t timestamp) const;
    template <typename Number>
    Number parse(Column column, std::string_view text) const;
    [[noreturn]] void fail(size_t begin, std::string const& reason) const;
};

}  // namespace Kit
