#include "store/store_files.h"

namespace velm_test {

VELM_DEFINE_CLASS(Sample, ERObject)
VELM_DEFINE_STORED_FORM(Sample, ERObject)
VELM_DEFINE_CLASS(Link, ERObject)
VELM_DEFINE_STORED_FORM(Link, ERObject)

} // namespace velm_test
