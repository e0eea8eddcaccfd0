// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "companions/panel/http.h"

#include <span>

/// A file of the page, in the program itself.
struct PageFile
{
    const char *name; ///< as in the address: "index.html", "fonts/B612-Bold.woff2"
    const unsigned char *begin;
    const unsigned char *end;
};
/// All of companions/panel/page/dist; made by CMake.
std::span<const PageFile> pageFiles();

/// A file of the page, with a strict policy about what it may load. Any thread.
HttpReply pageReply(const HttpCall &call);
