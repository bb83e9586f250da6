"""What scripts/benchmark is made of: what is measured, how, and how it is shown."""
