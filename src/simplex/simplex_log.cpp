// The texts of the simplex progress events: the heading of the iteration table and one line
// per report, primal (objective column filled) or dual. The driver routes them to the log.
#include <cstdio>

#include "simplex/simplex.h"

namespace telva {

int32 simplex_progressheader(char* buf, int32 size) {
  return std::snprintf(buf, size, "%-8s  %-10s  %-10s  %-10s  %-20s  %-20s  %-8s  %-8s\n", "ITER",
                       "DEGITER(%)", "PFEAS", "DFEAS", "POBJ", "DOBJ", "TIME", "TOTTIME");
}

int32 simplex_progressline(char* buf, int32 size, const SimplexProgress* p, bool primal) {
  if (primal)
    return std::snprintf(buf, size,
                         "%-8d  %-10.2f  %-10.2e  %-10.2s  %-20.10e  %-20s  %-8.2f  %-8.2f\n",
                         p->iter, p->degpct, p->pinf, "", p->pobj, "", p->time, p->tottime);
  return std::snprintf(buf, size,
                       "%-8d  %-10.2f  %-10s  %-10.2e  %-20s  %-20.10e  %-8.2f  %-8.2f\n", p->iter,
                       p->degpct, "", p->dinf, "", p->dobj, p->time, p->tottime);
}

const char* simplex_eventtext(int32 event) {
  switch (event) {
  case 40:
    return "Simplex optimizer started.\n";
  case 44:
    return "Primal simplex optimizer started.\n";
  case 45:
    return "Primal simplex optimizer setup started.\n";
  case 46:
    return "Primal simplex optimizer setup terminated.\n";
  case 49:
    return "Primal simplex optimizer terminated.\n";
  case 56:
    return "Dual simplex optimizer started.\n";
  case 61:
    return "Dual simplex optimizer terminated.\n";
  default:
    return nullptr;
  }
}

} // namespace telva
