#include "velm/frame/interval.h"

#include <ostream>

std::ostream& operator<<(std::ostream& out, const ERLimites& interval) {
    return out << "Limites( " << interval.start() << "," << interval.end() << " )";
}
