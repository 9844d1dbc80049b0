module org.example.program {
}
