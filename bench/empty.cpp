// A program that does nothing, linked as taqmsg is: what the system takes to start any program.
int main() {}
