#include "tools/status/fields.h"

#include "tools/cli/message_text.h"
#include "tools/cli/number_text.h"

namespace Tools {

StatusFields StatusFields::operator[](char const* name) const {
    static const nlohmann::json nothing;
    const auto found = part.find(name);  // the end of what is no object
    return StatusFields(found != part.end() ? *found : nothing);
}

std::string StatusFields::text() const {
    if (part.is_string()) return printable(part.get_ref<std::string const&>());
    return part.is_number() ? part.dump() : "?";
}

uint64_t StatusFields::number() const {
    if (part.is_number_unsigned()) return part.get<uint64_t>();
    if (!part.is_string()) return 0;
    return whole_number(part.get_ref<std::string const&>()).value_or(0);
}

}  // namespace Tools
