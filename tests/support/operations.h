// SPDX-License-Identifier: Apache-2.0
// The six operations, one row each on one frame.
#ifndef TESTS_SUPPORT_OPERATIONS_H
#define TESTS_SUPPORT_OPERATIONS_H

#include <ostream>
#include <string>
#include <vector>

#include "upscaler/upscaler.h"

namespace android::test {

struct OperationRow {
    std::string name;  // of its script, too
    void (Upscaler::*call)(sp<GraphicBuffer>&, sp<GraphicBuffer>&, float, sp<Fence>*);
    float sharpness;  // the script's
    size_t passes;
    size_t traceQueries;
};

inline std::ostream& operator<<(std::ostream& out, const OperationRow& row) {
    return out << row.name;
}

inline const std::vector<OperationRow>& operations() {
    static const std::vector<OperationRow> rows = {
            // name, function, sharpness, passes, trace queries
            {"fsrResize", &Upscaler::fsrResize, 2.0f, 3, 14},
            {"neaResize", &Upscaler::neaResize, -1.0f, 3, 6},
            {"casSharpen", &Upscaler::casSharpen, 1.0f, 2, 6},
            {"casResize", &Upscaler::casResize, 0.0f, 2, 6},
            {"casvUpscale", &Upscaler::casvUpscale, 9.0f, 2, 6},
            {"casTUpscale", &Upscaler::casTUpscale, 0.5f, 2, 6},
    };
    return rows;
}

}  // namespace android::test

#endif  // TESTS_SUPPORT_OPERATIONS_H
