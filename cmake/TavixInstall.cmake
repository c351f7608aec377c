# What `cmake --install` puts where, and the package config that a stranger's project finds.
