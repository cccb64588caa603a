#include "kit/recording/finding.h"

namespace Kit {

bool is_damage(FindingKind kind) {
    switch (kind) {
        case FindingKind::kForeignFrame:
        case FindingKind::kSecondHeader:
        case FindingKind::kFrameCount:
            return false;
        default:
            return true;
    }
}

char const* name_of(FindingKind kind) {
    switch (kind) {
        case FindingKind::kEmpty:
            return "empty";
        case FindingKind::kShortHeader:
            return "short-header";
        case FindingKind::kNotARecording:
            return "not-a-recording";
        case FindingKind::kUnknownVersion:
            return "unknown-version";
        case FindingKind::kRawData:
            return "raw-data";
        case FindingKind::kWrongTag:
            return "wrong-tag";
        case FindingKind::kZeros:
            return "zeros";
        case FindingKind::kTooLong:
            return "too-long";
        case FindingKind::kCutShort:
            return "cut-short";
        case FindingKind::kUndecodable:
            return "undecodable";
        case FindingKind::kForeignFrame:
            return "foreign-frame";
        case FindingKind::kSecondHeader:
            return "second-header";
        case FindingKind::kFrameCount:
            return "frame-count";
        case FindingKind::kUnreadable:
            return "unreadable";
        case FindingKind::kSkipped:
            return "skipped";
    }
    return "unknown";
}

}  // namespace Kit
