module org.example.program {
    requires java.transaction.xa; // which no class names
}
