// The machine's page, made of the files in the folder panel.
#pragma once

#include "web/pages.h"

namespace simulator {

std::span<const web::Page> panelPages();

} // namespace simulator
