// Reports of the logging framework about itself.
#pragma once

class MsgStruct;

// Offers a message to first-failure capture when that is on, then sends it to the administrator. Takes the
// message over.
void report_to_admin(int sev, const char* whop, const char* filep, int line, int cat, int id,
                     MsgStruct* msgp);
