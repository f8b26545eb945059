// The services library's first file: each service has its own pair beside it.
