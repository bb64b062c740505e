#include "contract.h"

namespace xvocontract {
void addG726Entries(std::vector<Entry>&) {}
}  // namespace xvocontract
