// The till's page, made of the files in the folder page.
#pragma once

#include "web/pages.h"

std::span<const web::Page> tillPages();
