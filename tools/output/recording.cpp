#include "tools/output/recording.h"

#include "kit/base/words.h"
#include "kit/recording/name.h"

namespace Tools {

namespace {

Kit::RecordingHeader made_right(Kit::RecordingHeader header) {
    header.magic = Kit::kRecordingMagic;
    header.version = Kit::kRecordingVersion;
    header.frame_count = 0;
    return header;
}

}  // namespace

RecordingOutput::RecordingOutput(std::string const& path, bool force, Kit::RecordingHeader header)
    : file_(path, force) {
    file_.write(Kit::encode_header(made_right(header)));
}

void RecordingOutput::add(uint32_t tag, std::string_view payload) {
    file_.write(Kit::encode_record_header(tag, static_cast<uint32_t>(payload.size())));
    file_.write(payload);
    ++count_;
}

void RecordingOutput::finish() {
    std::string word;
    Kit::append_word(word, static_cast<uint32_t>(count_));
    file_.overwrite(Kit::kFrameCountOffset, word);
    file_.finish();
}

std::string complete_name(Kit::RecordingFile const& file, Kit::RecordingHeader const& header) {
    Kit::RecordingName name =
        file.name ? *file.name : Kit::name_of_time("radar", header.seconds, 0);
    name.surplus.clear();
    name.complete = true;
    return Kit::text_of(name);
}

}  // namespace Tools
