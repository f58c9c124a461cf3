#pragma once

#include <stdexcept>
#include <string>

#include "nrx_model.h"

// NRX scenario files: the JSON description of a simulated NRX cluster. The
// format is documented in simnrx.h ("Scenario").

namespace simnrx {

// A scenario that cannot be used; what() is a sentence naming the problem,
// starting with "scenario: ".
class ScenarioError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

Cluster ReadScenario(const std::string& json);
// The cluster as a scenario, states as they are now (settle first).
std::string WriteScenario(Cluster& cluster);

// One attribute value in scenario notation, named `attribute`, for an
// object whose group has `systemList` (null: an object without systems,
// whose attributes cannot be local).
Attribute ReadAttributeValue(const std::string& json, const std::string& attribute, const Cluster& cluster,
                             const Values* systemList);

// Names that a scenario may not give among an object's attributes: the
// engine's own, and those that have fields of their own.
bool ReservedAttribute(NRXObjType type, const std::string& attribute);

// The system as the cluster spells it; "%COMPUTERNAME%" stands for this computer.
const std::string* ScenarioSystem(const Cluster& cluster, const std::string& name);

}  // namespace simnrx
