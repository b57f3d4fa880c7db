mesh2 {
 vertex_vectors { 3, <0,0,0>, <1,0,0>, <0,1,0> }
 face_indices { 1, <0,1,2> }
}
