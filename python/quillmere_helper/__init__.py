"""The Quillmere render helper: from a render request to pictures on disk."""

VERSION = "0.1.0"
