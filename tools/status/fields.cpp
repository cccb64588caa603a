#include "tools/status/fields.h"

#include <nlohmann/json.hpp>

#include "kit/base/text.h"
#include "kit/base/whole_number.h"

namespace Tools {

StatusFields StatusFields::operator[](char const* name) const {
    static const nlohmann::json nothing;
    const auto found = part_.find(name);  // the end of what is no object
    return StatusFields(found != part_.end() ? *found : nothing);
}

std::string StatusFields::text() const {
    if (part_.is_string()) return Kit::printable(part_.get_ref<std::string const&>());
    return part_.is_number() ? part_.dump() : "?";
}

bool StatusFields::is_set() const {
    return part_.is_boolean() && part_.get<bool>();
}

bool StatusFields::is_empty() const {
    return part_.is_null();
}

uint64_t StatusFields::number() const {
    if (part_.is_number_unsigned()) return part_.get<uint64_t>();
    if (!part_.is_string()) return 0;
    return Kit::whole_number(part_.get_ref<std::string const&>()).value_or(0);
}

}  // namespace Tools
