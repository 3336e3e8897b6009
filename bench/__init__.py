"""The benchmarks: what Tarq costs, beside the least that it could cost."""
