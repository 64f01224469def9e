// Parts of more than one report.
#pragma once

#include "dravik-ctl/value.hpp"

namespace dravik::ctl {

/// Every network interface with its addresses.
value all_interfaces();

/// The device's region. On failure returns no fields and sets `error`.
value::fields region_of_board(std::string &error);

} // namespace dravik::ctl
