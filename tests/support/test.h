// What nearly every test stands on: GoogleTest, a generator of random values, and the values, texts
// and containers of the standard library.
#pragma once

#include "support/random.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <numbers>
#include <sstream>
#include <string>
#include <utility>
#include <vector>
