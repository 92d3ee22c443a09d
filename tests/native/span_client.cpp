// The client classes of the package in a program that has nothing to do with Python: exits with 0 when they work.
#include <orvane/data.hpp>

int main() {
    auto array = orvane::data::ArrayFactory().createArray<double>({2, 3});
    orvane::data::writableElementsOf(array)(1, 2) = 5;
    double block[40] = {};
    const orvane::data::ColumnMajorSpan<double> gaps(block, {2, 3, 2}, {1, 4, 20});
    return orvane::data::elementsOf(array)(1, 2) == 5 && &gaps.column(4)[1] == &gaps(1, 1, 1) ? 0 : 1;
}
