#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace Tools {

/**
 * A part of a status document, or nothing where the document does not have it. The document
 * outlives it.
 */
class StatusFields {
public:
    explicit StatusFields(nlohmann::json const& part) : part_(part) {}

    /** What the part has under `name`. */
    StatusFields operator[](char const* name) const;

    /** A text or a number for people; "?" when the part is neither. */
    std::string text() const;

    /** A number, which the document may hold as a text; 0 when the part is none. */
    uint64_t number() const;

    /** Whether the part is true. */
    bool is_set() const;

    /** Whether the part is missing, or an empty value. */
    bool is_empty() const;

    nlohmann::json const& json() const { return part_; }

private:
    nlohmann::json const& part_;
};

}  // namespace Tools
