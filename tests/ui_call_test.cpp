#include "ui_fixture.h"
namespace {
TEST(Nothing, Yet) {}
}  // namespace
