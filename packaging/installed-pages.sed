# Makes a page of the checkout tell of the installed programs, and lead to where the packages put what it names.
s|\(\.\./\)*simulator/instruments|/usr/share/zerko-simulated-instrument|g
s|scripts/run|console-tester|g
s/scripts\/plot\([^-]\|$\)/zerko-plot\1/g
s|](\.\./simulated-instrument\.md|](../../zerko-simulated-instrument/simulated-instrument.md|g
s|](guide/|](../zerko-console-tester/guide/|g
