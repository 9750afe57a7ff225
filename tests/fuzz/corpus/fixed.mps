NAME          FIX
ROWS
 N  COST
 L  ROW 1
COLUMNS
    X 1       COST               1.   ROW 1               2.
RHS
              ROW 1               3.
BOUNDS
 UP           X 1                 7.
ENDATA
