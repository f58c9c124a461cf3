#pragma once

#include <string>
#include <vector>

#include "wizard/product_definition.h"

namespace orv {

// The wizard keeps at most this many node or network names.
constexpr size_t kWizardNameSlots = 512;

// The cluster's client networks as Cluster::CWIZ_InitData last found them,
// at most kWizardNameSlots; empty before that.
const std::vector<std::wstring>& WizardNetworkNames();

// The process-wide definition that Cluster::CWIZ_InitData loaded, or an
// empty one before that.
ProductDefinition& ProcessDefinition();

}  // namespace orv
