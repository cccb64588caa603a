#include "tools/inspect/info_text.h"

#include <fmt/core.h>

#include <nlohmann/json.hpp>

#include "kit/base/text.h"
#include "tools/cli/time_text.h"

namespace Tools {

namespace {

using Json = nlohmann::ordered_json;

std::string line(char const* name, std::string const& value) {
    return fmt::format("{:<14}{}\n", name, value);
}

std::string kind_of(SourceName const& source, SourceSurvey const& survey) {
    if (source.kind == SourceName::Kind::kStandardInput) return "standard-input";
    if (source.kind == SourceName::Kind::kLiveStream) return "stream";
    const bool is_file =
        survey.files().size() == 1 && survey.files().front().file.path == source.path;
    return is_file ? "file" : "directory";
}

std::string daylight_text(int32_t flag) {
    if (flag < 0) return "not known";
    return flag > 0 ? "on" : "off";
}

std::string header_lines(FileSurvey const& file) {
    if (!file.header) return line("header", "none");
    Kit::RecordingHeader const& header = *file.header;
    std::string text = line("version", std::to_string(header.version));
    text += line("begun", utc_text_of_seconds(header.seconds) + ", daylight saving time " +
                              daylight_text(header.daylight_saving));
    text += line("height", fmt::format("{:.6g}", header.height));
    text += line("tilt", fmt::format("{:.6g}", header.tilt));
    text += line("sensitivity", std::to_string(header.sensitivity));
    std::string count = std::to_string(header.frame_count);
    if (file.frame_count_agrees) count += *file.frame_count_agrees ? ", agrees" : ", disagrees";
    return text + line("counter", count);
}

std::string condition_of(FileSurvey const& file) {
    std::string text = name_of(file.state);
    if (file.state == FileState::kUnknown) text = "no recorder's name";
    if (file.cut_offset) text += ", cut off at offset " + std::to_string(*file.cut_offset);
    if (file.damaged_places > 0)
        text += ", " + Kit::count_text(file.damaged_places, "damaged place");
    if (file.skipped_bytes > 0)
        text += ", " + Kit::count_text(file.skipped_bytes, "byte") + " skipped";
    return text;
}

std::string time_text(uint64_t us) {
    return std::to_string(us) + " us" + (looks_like_date(us) ? " (" + utc_text(us) + ")" : "");
}

std::string tags_text(SourceSurvey const& survey) {
    std::string text;
    for (auto const& [tag, count] : survey.tags()) {
        if (tag == 0) continue;  // a stream has none
        text += (text.empty() ? "" : ", ") + Kit::hexadecimal(tag);
        if (survey.tags().size() > 1) text += " (" + Kit::count_text(count, "record") + ")";
    }
    return text.empty() ? "none" : text;
}

std::string targets_text(SourceSurvey const& survey) {
    std::string text = std::to_string(survey.targets());
    if (survey.records() == 0) return text;
    const double mean =
        static_cast<double>(survey.targets()) / static_cast<double>(survey.records());
    return fmt::format("{}, in a frame {} to {}, on average {:.2f}", text, survey.fewest_targets(),
                       survey.most_targets(), mean);
}

std::string rate_lines(FrameTiming const& timing) {
    if (timing.frames() < 2) return "";
    std::string text;
    if (timing.last_us() >= timing.first_us()) {
        const auto duration = static_cast<double>(timing.last_us() - timing.first_us());
        text += line("duration", duration_text(duration));
    }
    const FrameTiming::Intervals intervals = timing.intervals();
    if (intervals.mean_us > 0) {
        text += line("rate", fmt::format("{:.3f} frames a second", 1e6 / intervals.mean_us));
    }
    return text +
           line("interval", fmt::format("{} +- {}, {} to {}", duration_text(intervals.mean_us),
                                        duration_text(intervals.deviation_us),
                                        duration_text(static_cast<double>(intervals.shortest_us)),
                                        duration_text(static_cast<double>(intervals.longest_us))));
}

std::string gap_lines(FrameTiming const& timing, bool several_files) {
    constexpr size_t kMostLines = 10;
    const std::vector<FrameGap> gaps = timing.gaps();
    std::string text = line("gaps", std::to_string(timing.gap_count()));
    for (size_t i = 0; i < gaps.size() && i < kMostLines; ++i) {
        FrameGap const& gap = gaps[i];
        text += line(
            "", fmt::format("{} before frame {} at offset {}{}",
                            duration_text(static_cast<double>(gap.length_us)), gap.place.number,
                            gap.place.offset, several_files ? " of " + gap.place.file : ""));
    }
    if (gaps.size() > kMostLines) text += line("", "and more; --format json lists the longest");
    if (timing.steps_back() > 0) {
        text += line("time back", Kit::count_text(timing.steps_back(), "time"));
    }
    return text;
}

Json number(uint64_t value) {
    return std::to_string(value);
}

Json milliseconds(double us) {
    return us / 1e3;
}

Json header_json(std::optional<Kit::RecordingHeader> const& header) {
    if (!header) return nullptr;
    Json json;
    json["version"] = header->version;
    json["start_s"] = header->seconds;
    json["start"] = utc_text_of_seconds(header->seconds);
    json["daylight_saving"] =
        header->daylight_saving < 0 ? Json(nullptr) : Json(header->daylight_saving > 0);
    json["height"] = header->height;
    json["tilt"] = header->tilt;
    json["sensitivity"] = header->sensitivity;
    json["frame_count"] = header->frame_count;
    return json;
}

Json file_json(FileSurvey const& file) {
    Json json;
    json["path"] = file.file.path;
    json["state"] = name_of(file.state);
    json["bytes"] = number(file.bytes);
    json["header"] = header_json(file.header);
    json["headers"] = number(file.headers);
    json["records"] = number(file.records);
    json["frame_count_agrees"] =
        file.frame_count_agrees ? Json(*file.frame_count_agrees) : Json(nullptr);
    json["cut_offset"] = file.cut_offset ? number(*file.cut_offset) : Json(nullptr);
    json["damaged_places"] = number(file.damaged_places);
    json["skipped_bytes"] = number(file.skipped_bytes);
    return json;
}

Json targets_json(SourceSurvey const& survey) {
    if (survey.records() == 0) return nullptr;
    Json json;
    json["count"] = number(survey.targets());
    json["min"] = survey.fewest_targets();
    json["mean"] = static_cast<double>(survey.targets()) / static_cast<double>(survey.records());
    json["max"] = survey.most_targets();
    return json;
}

Json interval_json(FrameTiming::Intervals const& intervals) {
    if (intervals.count == 0) return nullptr;
    Json json;
    json["mean"] = milliseconds(intervals.mean_us);
    json["deviation"] = milliseconds(intervals.deviation_us);
    json["min"] = milliseconds(static_cast<double>(intervals.shortest_us));
    json["max"] = milliseconds(static_cast<double>(intervals.longest_us));
    return json;
}

Json gaps_json(FrameTiming const& timing) {
    Json json;
    const auto from = timing.gap_from_us();
    json["from_ms"] = from ? milliseconds(static_cast<double>(*from)) : Json(nullptr);
    json["count"] = number(timing.gap_count());
    json["longest"] = Json::array();
    for (FrameGap const& gap : timing.gaps()) {
        Json each;
        each["file"] = gap.place.file;
        each["offset"] = number(gap.place.offset);
        each["frame"] = number(gap.place.number);
        each["begin_us"] = number(gap.begin_us);
        each["length_ms"] = milliseconds(static_cast<double>(gap.length_us));
        json["longest"].push_back(each);
    }
    return json;
}

}  // namespace

std::string info_text(SourceName const& source, SourceSurvey const& survey) {
    const bool several_files = survey.files().size() > 1;
    FrameTiming const& timing = survey.timing();
    std::string text = line("source", source.text);
    if (several_files) text += line("files", std::to_string(survey.files().size()));
    text += line("bytes", std::to_string(survey.bytes()));
    if (!survey.files().empty() && source.kind != SourceName::Kind::kLiveStream) {
        text += header_lines(survey.files().front());
    }
    text += line("tags", tags_text(survey));
    text += line("records", std::to_string(survey.records()));
    text += line("targets", targets_text(survey));
    if (survey.records() > 0) {
        text += line("first frame", time_text(timing.first_us()));
        text += line("last frame", time_text(timing.last_us()));
    }
    text += rate_lines(timing) + gap_lines(timing, several_files);
    if (!several_files && !survey.files().empty()) {
        return text + line("condition", condition_of(survey.files().front()));
    }
    for (FileSurvey const& file : survey.files()) {
        text += line("file", file.file.path + ": " + Kit::count_text(file.records, "record") +
                                 ", " + condition_of(file));
    }
    return text;
}

std::string info_json(SourceName const& source, SourceSurvey const& survey, bool interrupted) {
    FrameTiming const& timing = survey.timing();
    const bool has_frames = survey.records() > 0;
    Json json;
    json["source"] = source.text;
    json["kind"] = kind_of(source, survey);
    json["interrupted"] = interrupted;
    json["bytes"] = number(survey.bytes());
    json["tags"] = Json::array();
    for (auto const& [tag, count] : survey.tags()) {
        if (tag != 0) json["tags"].push_back(Kit::hexadecimal(tag));
    }
    json["records"] = number(survey.records());
    json["targets"] = targets_json(survey);
    json["first_timestamp_us"] = has_frames ? number(timing.first_us()) : Json(nullptr);
    json["last_timestamp_us"] = has_frames ? number(timing.last_us()) : Json(nullptr);
    const FrameTiming::Intervals intervals = timing.intervals();
    json["rate_hz"] = intervals.mean_us > 0 ? Json(1e6 / intervals.mean_us) : Json(nullptr);
    json["interval_ms"] = interval_json(intervals);
    json["gaps"] = gaps_json(timing);
    json["steps_back"] = number(timing.steps_back());
    json["skipped_bytes"] = number(survey.skipped_bytes());
    json["files"] = Json::array();
    for (FileSurvey const& file : survey.files()) json["files"].push_back(file_json(file));
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace Tools
