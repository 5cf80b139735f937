# Links to other files of the repository lead nowhere from the API reference: their texts stay.
s/\[([^]]*)\]\([A-Za-z/_.-]+\)/\1/g
