"""Records of runs of lumenTest, as docs/records.md describes them: reading, checking, selecting."""
