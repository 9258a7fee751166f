// tests/support/test.h - what every test needs: the framework, texts and files, and statuses.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/status.h"
#include "support/temp_folder.h"
#include "support/text.h"
