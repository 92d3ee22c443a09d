"""A stateful fuzzer: programs of operations on a pool of arrays and of all that is derived from
them, each drawn from a seed alone, judged by the reference model and by what must never change.

`values` draws what goes in; `pool` is what lives on; `judge` says what must hold; the operations
stand in `operations`, in `hostile` where code of the caller's works in their midst, in `native`
and in `threads`. `program` is one program, `leaks` runs one again and again.
"""
