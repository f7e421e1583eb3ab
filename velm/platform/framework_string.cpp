#include "velm/platform/framework_string.h"

#include <ostream>

std::ostream& operator<<(std::ostream& out, const CString& text) { return out << text.view(); }
