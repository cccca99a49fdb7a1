// Totals of groups of devices.
#pragma once

// Walks the header table: sums the counters (sectors, requests, merges, milliseconds) of the registered
// devices in the sample `slot_of_sample`, those without any read or write left out unless `unfiltered`, and
// stores the sum at each group entry under the group's name; the entry's `used` becomes the number of devices
// summed, and the sum starts anew.
void compute_device_groups_stats(int slot_of_sample);
