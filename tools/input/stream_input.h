#pragma once

#include <cstdint>
#include <functional>

#include "kit/stream/client.h"
#include "tools/cli/source_name.h"
#include "tools/input/frame_input.h"
#include "tools/input/source_options.h"

namespace Tools {

/** A live stream as an input. See FrameInput. */
class StreamInput : public FrameInput {
public:
    /** Connects. @throws Kit::InputError */
    StreamInput(SourceName const& source, SourceOptions const& options, Selection selection);

    bool is_endless() const override { return true; }
    uint64_t bytes_done() const override { return client_.bytes(); }
    uint64_t bytes_total() const override { return 0; }

private:
    using Result = Kit::StreamClient::Result;

    bool read(InputHandler& items) override;
    bool use(Result result, InputHandler& items);
    void use_frame(InputHandler& items);
    void report(Kit::FindingKind kind, InputHandler& items) const;
    void refuse_foreign_bytes() const;

    Kit::RecordingFile file_;
    std::function<void()> idle_;
    Kit::StreamClient client_;
    Kit::StreamFrame stream_frame_;
    uint64_t frames_ = 0;
    bool begun_ = false;
    bool ended_ = false;
};

}  // namespace Tools
