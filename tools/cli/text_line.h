#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace Tools {

/**
 * One line of a text that a person wrote, taken apart word by word from the left; blanks and tabs
 * part the words. Throws Kit::InputError "NAME:LINE:COLUMN: reason" where it is not as it should
 * be. Does not own the text.
 */
class TextLine {
public:
    /** @param place "NAME:LINE". */
    TextLine(std::string_view text, std::string place);

    /** Whether nothing is left but a comment, which begins with '#'. */
    bool is_empty() const;

    /** Whether every word was taken. */
    bool is_at_end() const;

    /** Takes the next word. @param what it should be, for messages. */
    std::string_view word(char const* what);

    /** Takes a word that is a whole number within these bounds. */
    uint32_t number(char const* what, uint32_t lowest, uint32_t highest);

    /** Takes what is left. */
    std::string_view rest();

    /** Reports the word that was taken last. */
    [[noreturn]] void fail(std::string const& reason) const;

private:
    void skip_blanks();

    std::string_view text_;
    std::string place_;
    size_t end_;
    size_t position_ = 0;
    size_t begin_ = 0;  // of the word that was taken last
};

/** Calls `use` with every line of `text` that is not empty, and its number, from 1 on. */
void for_each_line(std::string const& name, std::string const& text,
                   std::function<void(TextLine&, int)> const& use);

}  // namespace Tools
