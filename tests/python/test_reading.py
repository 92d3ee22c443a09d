"""Subscripts: which element or view they answer, what they refuse, and what views share."""

from __future__ import annotations

from support import check, grid, table


class Index:
    def __init__(self, value):
        self.value = value

    def __index__(self):
        return self.value


# b has 10 rows of 2, c is 4 by 5 by 6, e has no rows; elements count up in storage order.
@table("""
b[1][1] -> 11.0
b[-1][-2] -> 9.0
b[True][False] -> 1.0
c[1][2][3] -> 69.0
c[::2][::-1][0][0][0] -> 2.0
c[-2**65:2**65:2**62][0][0][0] -> 0.0
b[2:2].size -> (0, 2)
b[2:5][1:1][0:9].size -> (0, 2)
b[1:3][0:9].size -> (2, 2)
c[1][0:2].size -> (2, 6)
e[::-1].size -> (0, 3)
[len(x) for x in (c, c[1], c[1:3], c[1][2], c[1][4:1])] -> [4, 5, 2, 6, 0]
b[::-1][::-1][4:5] -> [[4.0, 14.0]]
b[0:10][::3] -> [[0.0, 10.0], [3.0, 13.0], [6.0, 16.0], [9.0, 19.0]]
b[::4][::-1] -> [[8.0, 18.0], [4.0, 14.0], [0.0, 10.0]]
b[8:2:-2][1:] -> [[6.0, 16.0], [4.0, 14.0]]
b[Index(1):Index(2)] -> [[1.0, 11.0]]
b[1.0] -> RuntimeError: SUBSCRIPT
b[1, 2] -> RuntimeError: SUBSCRIPT
b[Index(1)] -> RuntimeError: SUBSCRIPT
b[10] -> IndexError: index has an invalid value: 10
b[2**63 - 1] -> IndexError: index has an invalid value: 9223372036854775807
b[2**63] -> OverflowError: SSIZE
b[-BIG] -> OverflowError: SSIZE
b[1:3][2] -> IndexError: index has an invalid value: 2
b[1:3][-3] -> IndexError: index has an invalid value: -3
e[-1] -> IndexError: index has an invalid value: -1
b[::0] -> ValueError: STEP
b['x'::'x'] -> ValueError: STEP
b[::1.5] -> ValueError: STEP
b['x':] -> TypeError: slice indices must be integers or None or have an __index__ method
b[1.5:'x'] -> TypeError: slice indices must be integers or None or have an __index__ method
b[1][1][0] -> TypeError: 'float' object is not subscriptable
""")
def test_subscripts(expression, answer):
    check(expression, answer, b=grid(10, 2), c=grid(4, 5, 6), e=grid(0, 3), Index=Index)
