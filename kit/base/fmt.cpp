// The one place where fmt's functions are compiled. With FMT_HEADER_ONLY in each source that
// formats something, each would compile them again: measured, 1.3 s and 170 kB of code a source.

#include <fmt/format-inl.h>

FMT_BEGIN_NAMESPACE
namespace detail {

template FMT_API dragonbox::decimal_fp<float> dragonbox::to_decimal(float) noexcept;
template FMT_API dragonbox::decimal_fp<double> dragonbox::to_decimal(double) noexcept;
template FMT_API thousands_sep_result<char> thousands_sep_impl(locale_ref);
template FMT_API char decimal_point_impl(locale_ref);
template FMT_API void buffer<char>::append(char const*, char const*);
template FMT_API void vformat_to(buffer<char>&, string_view, format_args, locale_ref);

}  // namespace detail
FMT_END_NAMESPACE
