// SPDX-License-Identifier: Apache-2.0
// The operations, one row each, of the library's own list.
#ifndef TESTS_SUPPORT_OPERATIONS_H
#define TESTS_SUPPORT_OPERATIONS_H

#include <ostream>
#include <string>
#include <vector>

#include "upscaler/operations.h"
#include "upscaler/upscaler.h"

namespace android::test {

struct OperationRow {
    std::string name;
    void (Upscaler::*call)(sp<GraphicBuffer>&, sp<GraphicBuffer>&, float, sp<Fence>*);
};

inline std::ostream& operator<<(std::ostream& out, const OperationRow& row) {
    return out << row.name;
}

inline const std::vector<OperationRow>& operations() {
#define ROW(name) {#name, &Upscaler::name},
    static const std::vector<OperationRow> rows = {UPSCALER_OPERATIONS(ROW)};
#undef ROW
    return rows;
}

}  // namespace android::test

#endif  // TESTS_SUPPORT_OPERATIONS_H
