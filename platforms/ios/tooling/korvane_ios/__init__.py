"""The iOS framework's build, check and release tools.

Each module reads one kind of tool output (llvm-objdump, llvm-readtapi JSON, clang's JSON AST,
Swift symbol graphs) through pure parse functions, so that tests can feed them recorded output;
the modules with a command line run as `python3 -m korvane_ios.<module>`.
"""
