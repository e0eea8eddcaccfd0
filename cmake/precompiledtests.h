// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "precompiled.h"

#include <gtest/gtest.h>

#include <random>
#include <regex>
