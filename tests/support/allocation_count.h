// velm_test::allocations(): the calls of the global operator new in this program so far.
#pragma once

namespace velm_test {

long allocations();

} // namespace velm_test
