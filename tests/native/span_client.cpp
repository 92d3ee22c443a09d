// The client classes of the package in a program that has nothing to do with Python: exits with 0 when they work.
#include <orvane/data.hpp>

int main() {
    auto array = orvane::data::ArrayFactory().createArray<double>({2, 3});
    orvane::data::writableElementsOf(array)(1, 2) = 5;
    return orvane::data::elementsOf(array)(1, 2) == 5 ? 0 : 1;
}
