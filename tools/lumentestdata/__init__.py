"""Makes the golden data in testdata/: inputs from seeded random bits, references with numpy.

elements   the element types: storage, random contents, absolute difference
formats    images and tables as the bytes of files
tree       the files of the whole tree, their manifests, writing and checking
absdiff    unit-test data of the absolute-difference module
color_...  those of the colour modules
fast       unit-test data of the FAST corner modules
harris     unit-test data of the Harris corner module
profiling  its profiling data, one row for each resolution
build      everything together
cli        the command line
"""

# Raise it with every change of the bytes that are made: generated files of another version are
# made again.
VERSION = 3

SEED = 20141105
