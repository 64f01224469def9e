// Parts of a report that more than one command tells.
#pragma once

#include "dravik-ctl/value.hpp"

namespace dravik::ctl {

/// Every network interface with its addresses.
value all_interfaces();

/// The device's region; without fields when it has none, and then `error` says why.
value::fields region_of_board(std::string &error);

} // namespace dravik::ctl
