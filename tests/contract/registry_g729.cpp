#include "contract.h"

namespace xvocontract {
void addG729Entries(std::vector<Entry>&) {}
}  // namespace xvocontract
