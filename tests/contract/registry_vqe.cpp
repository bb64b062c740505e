#include "contract.h"

namespace xvocontract {
void addVqeEntries(std::vector<Entry>&) {}
}  // namespace xvocontract
