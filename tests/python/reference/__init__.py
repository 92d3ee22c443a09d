"""A slow and simple account of the arrays in pure Python, for the extension to be held against.

`elements` says what a Python value becomes as an element, `nested` how a nested value becomes a
shape and a run of elements, `array` what subscripts, assignments, iteration and the methods do.
Nothing here is fast and nothing is shared with the extension but the two exceptions.
"""
