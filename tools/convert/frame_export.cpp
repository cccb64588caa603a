#include "tools/convert/frame_export.h"

#include <algorithm>
#include <filesystem>

#include "tools/format/printer.h"

namespace Tools {

namespace {

/** The formats that frames are printed in, too. */
class TextExport : public FrameExport {
public:
    TextExport(FrameFormat format, OutputFile& file)
        : printer_(format, [&file](std::string_view piece) { file.write(piece); }) {
        printer_.use_threads();
    }

    void on_header(Kit::RecordingHeader const&) override {}
    void on_frame(InputFrame const& frame) override { printer_.print(frame); }

    void finish() override {
        printer_.begin();
        printer_.hand_over();
    }

private:
    FramePrinter printer_;
};

}  // namespace

std::vector<std::string> export_format_names() {
    return {"csv", "ndjson", "mcap"};
}

std::string export_format_of(std::string const& path) {
    std::string const suffix = std::filesystem::path(path).extension().string();
    const auto names = export_format_names();
    const auto found = std::find_if(names.begin(), names.end(),
                                    [&](std::string const& name) { return suffix == "." + name; });
    return found == names.end() ? "" : *found;
}

std::unique_ptr<FrameExport> make_frame_export(std::string const& format, OutputFile& file) {
    if (format == "mcap") return make_mcap_export(file);
    return std::make_unique<TextExport>(frame_format(format), file);
}

}  // namespace Tools
