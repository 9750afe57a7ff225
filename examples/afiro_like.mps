* A small production-planning LP: two products X1, X2 share two capacities,
* X3 and X4 balance X1; the optimum is x = (2, 2, 0, 2) with objective -10.
NAME          AFIROLIKE
ROWS
 N  PROFIT
 L  CAP1
 L  CAP2
 G  DEMAND
 E  BALANCE
COLUMNS
    X1        PROFIT          -3.0   CAP1             1.0
    X1        CAP2             2.0   BALANCE          1.0
    X2        PROFIT          -2.0   CAP1             1.0
    X2        CAP2             1.0   DEMAND           1.0
    X3        PROFIT           1.0   BALANCE         -1.0
    X3        DEMAND           1.0
    X4        BALANCE         -1.0
RHS
    RHS       CAP1             4.0   CAP2             6.0
    RHS       DEMAND           1.0
BOUNDS
 UP BND       X3               5.0
 UP BND       X4              10.0
ENDATA
