"""Shows what the detectors find on pictures.

picture    PGM and PPM files in, PPM and PNG files out; crosses, boxes, outlines
library    the shared library
detectors  the detectors' calls
cli        the command line
"""
