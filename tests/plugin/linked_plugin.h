// Services of the host that a test replaces before it starts the host.
#pragma once

#include <map>
#include <string>

// By name; null for a service that the host does not have.
std::map<std::string, void*>& ReplacedServices();
