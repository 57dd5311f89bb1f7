// Arithmetic of libraries compiled for the x87, whose registers are wider than a double.
#pragma once

#include <fpu_control.h>

namespace sablot {

// While it lives, results in the registers of this thread are rounded to doubles (XPath 1.0, 3.5), so that sums are the
// same as on other machines.
class DoublePrecision {
public:
    DoublePrecision() {
        _FPU_GETCW(before_);
        Set((before_ & ~static_cast<fpu_control_t>(_FPU_EXTENDED)) | _FPU_DOUBLE);
    }
    DoublePrecision(const DoublePrecision&) = delete;
    DoublePrecision& operator=(const DoublePrecision&) = delete;
    ~DoublePrecision() { Set(before_); }

private:
    static void Set(fpu_control_t control) { _FPU_SETCW(control); }

    fpu_control_t before_{};
};

} // namespace sablot
