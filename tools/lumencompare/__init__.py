"""Whether a run is slower than another, or fails where the other did not."""
