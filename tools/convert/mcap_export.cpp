#include <fmt/core.h>

#include <limits>
#include <map>

#include "google/protobuf/descriptor.pb.h"
#include "radar_objects/radar_objects.pb.h"
#include "tools/cli/time_text.h"
#include "tools/convert/frame_export.h"
#include "tools/convert/mcap_writer.h"

namespace Tools {

namespace {

// What stands in the files. Never change.
constexpr char kEncoding[] = "protobuf";
constexpr char kTopic[] = "/radar/objects";
constexpr char kHeaderMetadata[] = "radar_recording";

constexpr uint64_t kNsInUs = 1000;

/** The schema of frames, as protobuf libraries exchange it. */
std::string descriptor_set() {
    google::protobuf::FileDescriptorSet set;
    RO::RadarObjects::descriptor()->file()->CopyTo(set.add_file());
    return set.SerializeAsString();
}

class McapExport : public FrameExport {
public:
    explicit McapExport(OutputFile& file) : writer_(file, "petrelradar " PETRELRADAR_VERSION) {
        schema_ = writer_.add_schema(RO::RadarObjects::descriptor()->full_name(), kEncoding,
                                     descriptor_set());
    }

    void on_header(Kit::RecordingHeader const& header) override {
        writer_.add_metadata(kHeaderMetadata,
                             {{"version", std::to_string(header.version)},
                              {"start_s", std::to_string(header.seconds)},
                              {"start", utc_text_of_seconds(header.seconds)},
                              {"daylight_saving", std::to_string(header.daylight_saving)},
                              {"height", fmt::format("{:.17g}", header.height)},
                              {"tilt", fmt::format("{:.17g}", header.tilt)},
                              {"sensitivity", std::to_string(header.sensitivity)}});
    }

    void on_frame(InputFrame const& frame) override {
        writer_.add_message(channel_of(frame.tag), static_cast<uint32_t>(frame.number),
                            log_time_of(frame.timestamp), frame.payload);
    }

    void finish() override {
        // So that an empty recording has the channel, too.
        if (channels_.empty()) channel_of(0);
        writer_.finish();
    }

    std::string loss() const override {
        if (late_frames_ == 0) return "";
        return fmt::format(
            "log times are too small for their frames, whose time in ns has more than 64 bits: {} "
            "(the payloads have the true time)",
            late_frames_);
    }

private:
    uint16_t channel_of(uint32_t tag) {
        const auto found = channels_.find(tag);
        if (found != channels_.end()) return found->second;
        McapWriter::Texts metadata;
        if (tag != 0) metadata["tag"] = Kit::hexadecimal(tag);
        return channels_[tag] = writer_.add_channel(schema_, kTopic, kEncoding, metadata);
    }

    uint64_t log_time_of(uint64_t timestamp) {
        constexpr uint64_t kLargest = std::numeric_limits<uint64_t>::max();
        if (timestamp <= kLargest / kNsInUs) return timestamp * kNsInUs;
        ++late_frames_;
        return kLargest;
    }

    McapWriter writer_;
    uint16_t schema_ = 0;
    std::map<uint32_t, uint16_t> channels_;  // of the records of each tag
    uint64_t late_frames_ = 0;
};

}  // namespace

std::unique_ptr<FrameExport> make_mcap_export(OutputFile& file) {
    return std::make_unique<McapExport>(file);
}

}  // namespace Tools
