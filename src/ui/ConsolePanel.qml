Raised {
    radius: 20
    shadowRadius: 18
    shadowOffset: 10
}
