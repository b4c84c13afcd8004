"""Shows what a detector of the library found: marks on the picture that it was given."""
