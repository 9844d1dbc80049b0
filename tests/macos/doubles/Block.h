// GNUstep's headers include this where the compiler has blocks; nothing in it is used.
