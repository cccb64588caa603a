#include "tools/convert/assembly.h"

#include <fmt/core.h>

#include <limits>

#include "kit/base/input_error.h"
#include "tools/cli/time_text.h"

namespace Tools {

namespace {

constexpr uint64_t kUsInS = 1000000;

/** What a recorder writes when nothing is set: medium sensitivity. */
constexpr int32_t kMediumSensitivity = 1;

/** What the headers say of the installation. */
std::string installation_text(Kit::RecordingHeader const& header) {
    return fmt::format("height {:.9g}, tilt {:.9g}, sensitivity {}", header.height, header.tilt,
                       header.sensitivity);
}

bool same_number(double left, double right) {
    return left == right || (left != left && right != right);
}

bool same_installation(Kit::RecordingHeader const& left, Kit::RecordingHeader const& right) {
    return same_number(left.height, right.height) && same_number(left.tilt, right.tilt) &&
           left.sensitivity == right.sensitivity;
}

/** The time of a frame in s since 1970, when it is one that a header can have. */
std::optional<int32_t> seconds_of(uint64_t timestamp) {
    const uint64_t seconds = timestamp / kUsInS;
    if (!looks_like_date(timestamp) || seconds > std::numeric_limits<int32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<int32_t>(seconds);
}

Kit::RecordingHeader made_up_header(InputFrame const& frame) {
    Kit::RecordingHeader header;
    header.seconds = seconds_of(frame.timestamp).value_or(0);
    header.daylight_saving = -1;  // not known
    header.sensitivity = kMediumSensitivity;
    return header;
}

/** The header with the start of what begins with the frame, as far as that can be known. */
Kit::RecordingHeader moved_to(InputFrame const& frame, Kit::RecordingHeader header) {
    if (frame.offset == Kit::kRecordingHeaderSize) return header;
    const auto seconds = seconds_of(frame.timestamp);
    if (seconds && *seconds > header.seconds) header.seconds = *seconds;
    return header;
}

}  // namespace

RecordingAssembly::RecordingAssembly(OutputOptions const& output, Messages const& messages)
    : output_(output), messages_(messages) {
    // Told now, and not when everything was read.
    const OutputFile attempt(output_.path, output_.force);
}

void RecordingAssembly::add(InputFrame const& frame, FrameOrigin const& origin,
                            DamageReport& report) {
    // A stream has none.
    const uint32_t frame_tag = frame.tag == 0 ? Kit::kRecordTag : frame.tag;
    if (!recording_) {
        begin(frame, origin);
        tag_ = frame_tag;
    }
    if (frame_tag != tag_) {
        throw Kit::InputError(fmt::format(
            "{}: offset {}: a record with tag {}, and those before have {}: a recording "
            "has one recorder's; recover parts them",
            origin.file, frame.offset, Kit::hexadecimal(frame_tag), Kit::hexadecimal(tag_)));
    }
    if (origin.header) compare(origin.file, *origin.header, report);
    recording_->add(tag_, frame.payload);
}

void RecordingAssembly::begin(InputFrame const& frame, FrameOrigin const& origin) {
    if (!origin.header) {
        begun_with_ = made_up_header(frame);
        messages_.note(origin.file + ": the frames have no header; the recording's says " +
                       installation_text(begun_with_));
    } else {
        begun_with_ = moved_to(frame, *origin.header);
    }
    recording_ = std::make_unique<RecordingOutput>(output_.path, output_.force, begun_with_);
}

void RecordingAssembly::compare(std::string const& file, Kit::RecordingHeader const& header,
                                DamageReport& report) {
    if (same_installation(header, begun_with_)) return;
    const std::string text = installation_text(header);
    if (!told_.insert(file + text).second) return;
    report.add_loss(file + ": its header is lost: " + text + "; the recording's says " +
                    installation_text(begun_with_));
}

void RecordingAssembly::finish() {
    if (recording_) recording_->finish();
}

}  // namespace Tools
