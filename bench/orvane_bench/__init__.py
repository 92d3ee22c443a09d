"""Measures the arrays beside what people would use instead: NumPy, `array.array`, lists."""
