#pragma once

#include <deque>
#include <functional>
#include <string>
#include <utility>

#include "tools/input/frame_input.h"

namespace Tools {

/** An input that delivers what a test has listed. */
class ScriptedInput : public FrameInput {
public:
    using Step = std::function<void(InputHandler&)>;

    explicit ScriptedInput(std::deque<Step> steps, SelectionOptions const& selection = {})
        : FrameInput(Selection(selection)), steps_(std::move(steps)) {}

    static Step file(std::string const& path) {
        return [path](InputHandler& items) {
            Kit::RecordingFile file;
            file.path = path;
            items.on_file(file, FileState::kComplete);
        };
    }

    static Step header() {
        return [](InputHandler& items) { items.on_header({}); };
    }

    static Step frame(uint64_t timestamp) {
        return [timestamp](InputHandler& items) {
            InputFrame frame;
            frame.timestamp = timestamp;
            items.on_frame(frame);
        };
    }

    static Step finding(Kit::FindingKind kind, uint64_t offset, std::string const& text,
                        uint64_t length = 0) {
        return [=](InputHandler& items) { items.on_finding({kind, offset, length, text}); };
    }

    static Step note(std::string const& text) {
        return [text](InputHandler& items) { items.on_note(text); };
    }

    bool is_endless() const override { return false; }
    uint64_t bytes_done() const override { return 0; }
    uint64_t bytes_total() const override { return 0; }

    /** Steps that were not read yet. */
    size_t left() const { return steps_.size(); }

private:
    bool read(InputHandler& items) override {
        if (steps_.empty()) return false;
        const Step step = std::move(steps_.front());
        steps_.pop_front();
        step(items);
        return true;
    }

    std::deque<Step> steps_;
};

/** Writes down each item in a line. */
class ItemLines : public InputHandler {
public:
    void on_file(Kit::RecordingFile const& file, FileState) override {
        text += "file " + file.path + "\n";
    }

    void on_header(Kit::RecordingHeader const&) override { text += "header\n"; }

    void on_frame(InputFrame const& frame) override {
        text += "frame " + std::to_string(frame.number) + " at " + std::to_string(frame.timestamp) +
                "\n";
    }

    void on_finding(Kit::Finding const& finding) override {
        text += "finding " + finding.text + "\n";
    }

    void on_note(std::string const& note) override { text += "note " + note + "\n"; }

    std::string text;
};

}  // namespace Tools
