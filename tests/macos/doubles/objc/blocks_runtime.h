// GNUstep's headers include this where the compiler has blocks; nothing of it is used.
