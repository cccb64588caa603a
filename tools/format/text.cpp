#include <google/protobuf/text_format.h>
#include <google/protobuf/unknown_field_set.h>

#include <algorithm>
#include <string>

#include "kit/base/usage_error.h"
#include "kit/encoding/target_reader.h"
#include "radar_objects/radar_objects.pb.h"
#include "tools/format/formatter.h"

namespace Tools {

namespace {

using google::protobuf::Descriptor;
using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::TextFormat;

/** The fields of a message that are not wanted. */
std::vector<FieldDescriptor const*> unwanted(Descriptor const& message,
                                             std::vector<FrameField> const& wanted) {
    std::vector<FieldDescriptor const*> fields;
    for (int i = 0; i < message.field_count(); ++i) {
        FieldDescriptor const* const field = message.field(i);
        const bool is_wanted = std::any_of(wanted.begin(), wanted.end(), [&](FrameField each) {
            return field->name() == name_of(each);
        });
        if (!is_wanted) fields.push_back(field);
    }
    return fields;
}

/**
 * Protobuf's own text of a frame, made target by target: the fields of the frame that stand before
 * the targets, the targets, and what protobuf does not know of, which stands behind.
 */
class DebugTextFormatter : public FrameFormatter {
public:
    explicit DebugTextFormatter(std::vector<FrameField> const& fields)
        : restricted_(!fields.empty()),
          with_targets_(!restricted_ || std::any_of(fields.begin(), fields.end(), is_of_target)),
          unwanted_of_frame_(unwanted(*RO::RadarObjects::descriptor(), fields)),
          unwanted_of_target_(unwanted(*RO::TargetData::descriptor(), fields)) {
        inside_.SetInitialIndentLevel(1);
    }

    void begin(TextBuffer&) override {}

    void append(InputFrame const& frame, TextBuffer& text) override {
        // Nothing in the text says where a frame ends.
        if (!first_) text.add("\n");
        first_ = false;
        const std::string rest = Kit::frame_without_targets(frame.payload);
        of_frame_.ParseFromString(rest);
        restrict_to_wanted(of_frame_, unwanted_of_frame_);
        RO::RadarObjects unknown;
        unknown.GetReflection()->MutableUnknownFields(&unknown)->Swap(
            of_frame_.GetReflection()->MutableUnknownFields(&of_frame_));
        add(outside_, of_frame_, text);
        if (with_targets_) append_targets(frame, text);
        add(outside_, unknown, text);
    }

private:
    void append_targets(InputFrame const& frame, TextBuffer& text) {
        Kit::TargetReader targets(frame.payload);
        for (std::string_view target; targets.next(target);) {
            of_target_.ParseFromArray(target.data(), static_cast<int>(target.size()));
            restrict_to_wanted(of_target_, unwanted_of_target_);
            text.add("targets {\n");
            add(inside_, of_target_, text);
            text.add("}\n");
        }
    }

    void restrict_to_wanted(Message& message, std::vector<FieldDescriptor const*> const& fields) {
        if (!restricted_) return;
        for (FieldDescriptor const* field : fields) {
            message.GetReflection()->ClearField(&message, field);
        }
        message.GetReflection()->MutableUnknownFields(&message)->Clear();
    }

    void add(TextFormat::Printer const& printer, Message const& message, TextBuffer& text) {
        printer.PrintToString(message, &printed_);
        text.add(printed_);
    }

    bool restricted_;
    bool with_targets_;
    bool first_ = true;
    std::vector<FieldDescriptor const*> unwanted_of_frame_;
    std::vector<FieldDescriptor const*> unwanted_of_target_;
    TextFormat::Printer outside_;
    TextFormat::Printer inside_;
    RO::RadarObjects of_frame_;
    RO::TargetData of_target_;
    std::string printed_;
};

}  // namespace

std::unique_ptr<FrameFormatter> make_text_formatter(std::vector<FrameField> const& fields) {
    if (std::find(fields.begin(), fields.end(), FrameField::kFrameIndex) != fields.end()) {
        throw Kit::UsageError("--fields: frame_index is nothing that a text says");
    }
    return std::make_unique<DebugTextFormatter>(fields);
}

}  // namespace Tools
