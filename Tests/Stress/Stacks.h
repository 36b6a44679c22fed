#ifndef STACKS_H
#define STACKS_H

namespace TTMLTest {

// Makes the process ready to print its stacks. Once, before there are threads.
void PrepareStacks();

// Prints the name and the stack of every thread to standard error, whatever the threads wait for. One thread
// at a time may call it.
void PrintAllStacks();

} // namespace TTMLTest

#endif
