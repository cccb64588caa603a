#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "tools/cli/output.h"
#include "tools/diff/comparison.h"

namespace Tools {

/** What a comparison of two recordings gave. */
struct DiffSum {
    uint64_t compared = 0;   // frames that both have
    uint64_t differing = 0;  // of these
    uint64_t only_in_a = 0;
    uint64_t only_in_b = 0;
    uint64_t header_fields = 0;
    bool interrupted = false;

    bool is_equal() const {
        return differing == 0 && only_in_a == 0 && only_in_b == 0 && header_fields == 0;
    }
};

/** The sum in a line for people, without its end. */
std::string text_of(DiffSum const& sum, std::string const& a, std::string const& b);

/** Prints differences as they come. docs/export.md describes the formats. One thread at a time. */
class DiffReport : public DifferenceSink {
public:
    virtual void header_differs(std::string const& field, std::string const& a,
                                std::string const& b) = 0;
    virtual void frame_only_in_a(InputFrame const& frame) = 0;
    virtual void frame_only_in_b(InputFrame const& frame) = 0;

    /** The frames that what comes now is about. They hold until the next ones. */
    void begin_frames(InputFrame const& a, InputFrame const& b) {
        frame_a_ = a;
        frame_b_ = b;
    }

    virtual void finish(DiffSum const& sum) = 0;

protected:
    InputFrame frame_a_;
    InputFrame frame_b_;
};

/** @param a and b the sources, as the user named them; @param brief only the sum is printed. */
std::unique_ptr<DiffReport> make_text_diff_report(Output& out, std::string a, std::string b,
                                                  bool brief);
std::unique_ptr<DiffReport> make_json_diff_report(Output& out, std::string const& a,
                                                  std::string const& b, bool brief);

}  // namespace Tools
