#include "contract.h"

namespace xvocontract {
void addGenericEntries(std::vector<Entry>&) {}
}  // namespace xvocontract
