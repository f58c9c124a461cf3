#pragma once

#include <list>
#include <string>
#include <vector>

#include "wizard/product_definition.h"

namespace orv {

// The wizard keeps at most this many node or network names.
constexpr size_t kWizardNameSlots = 512;

// The cluster's client networks as Cluster::CWIZ_InitData last found them,
// at most kWizardNameSlots; empty before that.
const std::vector<std::wstring>& WizardNetworkNames();

// The cluster's nodes as the backend last put them for the wizard (while
// Cluster::CWIZ_InitData prepares it), at most kWizardNameSlots.
const std::vector<std::wstring>& WizardNodeNames();
void KeepWizardNodeNames(const std::list<std::wstring>& nodes);

// The wizard's record of the resource moved into the product's group (its
// disk), apart from the service resource table. Every fetch sets its install
// flag to 1. The failover backend fills its name and handle slot while it
// creates the group.
CLUSTERRESOURCE& MovedResourceRecord();

// The process-wide definition that Cluster::CWIZ_InitData loaded, or an
// empty one before that.
ProductDefinition& ProcessDefinition();

}  // namespace orv
