NAME t
OBJSENSE
    MAX
ROWS
 N  obj
 L  c1
 G  c2
 E  c3
COLUMNS
    MARKER                 'MARKER'                 'INTORG'
    x         obj       1.5        c1        2
    MARKER                 'MARKER'                 'INTEND'
    y         obj       -1         c3        4
RHS
    rhs       c1        10         c2        -5
RANGES
    rng       c1        3
BOUNDS
 UP bnd       x         4
 MI bnd       y
 BV bnd       x
QUADOBJ
    x         x         2
QCMATRIX      c1
    x         y         1
    y         x         1
CSECTION      k1        0              QUAD
    x
    y
ENDATA
