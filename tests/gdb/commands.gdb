set print object off
set width 0
set print pretty off
break look
run
up
print point2
print point3
print vector3
print pole2
print interval
print empty_box
print box
print no_numbers
print numbers
print points
print table
print matrix
print text
print no_text
print nothing
print edge
print object
