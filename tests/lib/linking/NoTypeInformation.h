// What LinkingTest asks of a part that is compiled in another way.
#pragma once

// The messages that a class derived from Log was given.
int count_of_own_log(bool queued);
