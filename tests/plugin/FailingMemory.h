#ifndef TESTS_PLUGIN_FAILINGMEMORY_H_
#define TESTS_PLUGIN_FAILINGMEMORY_H_

// Lets one `new` of the calling thread find no memory, in a program that links FailingMemory.cpp.
namespace failing_memory {

// The next one but `allocation` fails.
void start(int allocation);
// None fails any more. True when one has since start().
bool stop();

}  // namespace failing_memory

#endif  // TESTS_PLUGIN_FAILINGMEMORY_H_
