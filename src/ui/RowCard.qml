Raised {
    radius: 14
    shadowRadius: 7
    shadowOffset: 4
}
